#include "platform/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace fmconv::platform {

FolderLock::~FolderLock() {
    if (fd_ >= 0) ::close(fd_);
}

FolderLock::Result FolderLock::TryLock(const std::string& folder) {
    Result result;
    const int fd =
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return result;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) result.outcome = Outcome::kInUse;
        ::close(fd);
        return result;
    }
    result.outcome = Outcome::kHeld;
    result.lock.reset(new FolderLock(fd));
    return result;
}

}  // namespace fmconv::platform
