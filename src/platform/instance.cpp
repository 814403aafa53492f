#include "platform/instance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace fmconv::platform {

InstanceLock::~InstanceLock() {
    if (fd_ >= 0) ::close(fd_);
}

std::string InstanceLock::PathFor(const std::string& name) {
    // The lock name may hold blanks and commas; keep letters and digits.
    std::string file = "fmconv-";
    for (char c : name) {
        const bool plain =
            (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        file += plain ? c : '_';
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime) return std::string(runtime) + "/" + file + ".lock";
    return "/tmp/" + file + "-" + std::to_string(::getuid()) + ".lock";
}

InstanceLock::Result InstanceLock::Create(const std::string& name) {
    Result result;
    const int fd = ::open(PathFor(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return result;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        result.alreadyExists = errno == EWOULDBLOCK;
        ::close(fd);
        return result;
    }
    result.lock.reset(new InstanceLock(fd));
    return result;
}

}  // namespace fmconv::platform
