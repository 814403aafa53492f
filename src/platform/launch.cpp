#include "platform/launch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <vector>

namespace fmconv::platform {

std::string DiskManagementCommandLine() {
    return "gnome-disks";
}
std::string GuideDocumentCommandLine() {
    return "xdg-open DiskManagementGuide.pdf";
}

namespace {
bool OnPath(const std::string& program) {
    if (program.find('/') != std::string::npos) return ::access(program.c_str(), X_OK) == 0;
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        if (!dir.empty() && ::access((dir + "/" + program).c_str(), X_OK) == 0) return true;
    }
    return false;
}
}  // namespace

bool StartDetached(const std::string& commandLine) {
    std::vector<std::string> words;
    std::stringstream in(commandLine);
    for (std::string word; in >> word;) words.push_back(word);
    if (words.empty() || !OnPath(words[0])) return false;
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);

    // Fork twice so that the program is nobody's child here and leaves no
    // zombie behind; the middle process ends at once.
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) {
        ::setsid();
        if (::fork() == 0) {
            ::execvp(argv[0], argv.data());
            ::_exit(127);
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return true;
}

}  // namespace fmconv::platform
