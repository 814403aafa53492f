#include "run_fmconv.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <sstream>

namespace fmconv::testing {

namespace {
std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}
}  // namespace

ProcessResult RunFmconv(const std::string& workingDirectory, const std::vector<std::string>& args,
                        const std::string& stdinText) {
    int in[2], out[2], err[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0 || ::pipe(err) != 0) return {};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        ::dup2(err[1], 2);
        for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) ::close(fd);
        if (::chdir(workingDirectory.c_str()) != 0) ::_exit(126);
        std::vector<char*> argv;
        std::string program = FMCONV_BINARY;
        argv.push_back(program.data());
        std::vector<std::string> copies = args;
        for (std::string& a : copies) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    // Feed stdin and drain both outputs together so that nothing blocks.
    std::size_t written = 0;
    if (stdinText.empty()) ::close(in[1]);
    bool inOpen = !stdinText.empty();
    ProcessResult result;
    bool outOpen = true, errOpen = true;
    while (outOpen || errOpen || inOpen) {
        pollfd fds[3];
        int n = 0;
        if (outOpen) fds[n++] = {out[0], POLLIN, 0};
        if (errOpen) fds[n++] = {err[0], POLLIN, 0};
        if (inOpen) fds[n++] = {in[1], POLLOUT, 0};
        if (::poll(fds, static_cast<nfds_t>(n), -1) < 0) break;
        for (int i = 0; i < n; ++i) {
            if (fds[i].revents == 0) continue;
            if (fds[i].fd == in[1]) {
                const ssize_t w = ::write(in[1], stdinText.data() + written, stdinText.size() - written);
                if (w > 0) written += static_cast<std::size_t>(w);
                if (w <= 0 || written == stdinText.size()) {
                    ::close(in[1]);
                    inOpen = false;
                }
                continue;
            }
            char buffer[4096];
            const ssize_t r = ::read(fds[i].fd, buffer, sizeof buffer);
            std::string& sink = fds[i].fd == out[0] ? result.out : result.err;
            if (r > 0) {
                sink.append(buffer, static_cast<std::size_t>(r));
            } else {
                (fds[i].fd == out[0] ? outOpen : errOpen) = false;
                ::close(fds[i].fd);
            }
        }
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.outLines = Lines(result.out);
    result.errLines = Lines(result.err);
    return result;
}

bool AnyLineHas(const std::vector<std::string>& lines, const std::vector<std::string>& fragments) {
    for (const std::string& line : lines) {
        bool all = true;
        for (const std::string& f : fragments) all = all && line.find(f) != std::string::npos;
        if (all) return true;
    }
    return false;
}

}  // namespace fmconv::testing
