#include "run_fmconv.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "support/temp_dir.h"

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
    // Standard input, output and error go through files of the test's own.
    TempDir io;
    WriteText(io.File("in"), stdinText);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, io.File("in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, io.File("out").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, io.File("err").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addchdir_np(&actions, workingDirectory.c_str());
    std::vector<std::string> all = {FMCONV_BINARY};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    ProcessResult result;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    const auto text = [&](const char* name) {
        const auto bytes = ReadBytes(io.File(name));
        return std::string(bytes.begin(), bytes.end());
    };
    result.out = text("out");
    result.err = text("err");
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
