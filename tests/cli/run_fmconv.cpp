#include "run_fmconv.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

namespace fmconv::testing {

namespace {
std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}
std::string Text(const std::string& path) {
    const auto bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}
}  // namespace

RunningFmconv::RunningFmconv(const std::string& workingDirectory,
                             const std::vector<std::string>& args, const std::string& stdinText,
                             const SpawnOptions& options) {
    // Standard input, output and error go through files of the test's own.
    WriteText(io_.File("in"), stdinText);
    WriteText(io_.File("out"), "");
    WriteText(io_.File("err"), "");
    if (options.user) {
        for (const char* name : {"", "out", "err"}) {
            ::chmod(io_.File(name).c_str(), 0777);
        }
    }
    std::vector<std::string> all = {FMCONV_BINARY};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    const std::string in = io_.File("in"), out = io_.File("out"), err = io_.File("err");
    pid_ = ::fork();
    if (pid_ != 0) return;
    // The child: only calls that are safe after a fork.
    const int fds[3] = {::open(in.c_str(), O_RDONLY), ::open(out.c_str(), O_WRONLY),
                        ::open(err.c_str(), O_WRONLY)};
    for (int i = 0; i < 3; ++i) ::dup2(fds[i], i);
    if (options.user && (::setgid(*options.user) != 0 || ::setuid(*options.user) != 0)) _exit(126);
    if (::chdir(workingDirectory.c_str()) != 0) _exit(126);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve(argv[0], argv.data(), environ);
    _exit(127);
}

void RunningFmconv::Signal(int signal) const {
    ::kill(pid_, signal);
}

std::string RunningFmconv::OutSoFar() const {
    return Text(io_.File("out"));
}

ProcessResult RunningFmconv::Wait() {
    ProcessResult result;
    int status = 0;
    if (pid_ > 0 && ::waitpid(pid_, &status, 0) == pid_ && WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    }
    pid_ = -1;
    result.out = Text(io_.File("out"));
    result.err = Text(io_.File("err"));
    result.outLines = Lines(result.out);
    result.errLines = Lines(result.err);
    return result;
}

ProcessResult RunFmconv(const std::string& workingDirectory, const std::vector<std::string>& args,
                        const std::string& stdinText, const SpawnOptions& options) {
    return RunningFmconv(workingDirectory, args, stdinText, options).Wait();
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
