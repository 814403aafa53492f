#include "platform/output_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <vector>

namespace fmconv::platform {

namespace {

constexpr char kTempPrefix[] = ".fmconv-";
constexpr char kTempSuffix[] = ".part";

// The temporaries this process is writing, so that an interrupt can remove
// them. Once stopped, no new one is made.
struct Registry {
    std::mutex mutex;
    std::set<std::string> paths;
    bool stopped = false;
};
Registry& Temporaries() {
    static Registry registry;
    return registry;
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

bool WriteAll(int fd, const uint8_t* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (n == 0) return false;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

class SafeOutputFile final : public OutputFile {
  public:
    SafeOutputFile(int fd, std::string temp, std::string final)
        : fd_(fd), temp_(std::move(temp)), final_(std::move(final)) {}
    ~SafeOutputFile() override { Abandon(); }

    bool Write(const uint8_t* data, std::size_t size) override {
        if (failed_ || fd_ < 0) return false;
        if (!WriteAll(fd_, data, size)) failed_ = true;
        return !failed_;
    }

    bool WriteAt(uint64_t offset, const uint8_t* data, std::size_t size) override {
        if (failed_ || fd_ < 0) return false;
        while (size > 0) {
            const ssize_t n = ::pwrite(fd_, data, size, static_cast<off_t>(offset));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                failed_ = true;
                return false;
            }
            data += n;
            size -= static_cast<std::size_t>(n);
            offset += static_cast<uint64_t>(n);
        }
        return true;
    }

    CopyResult CopyFrom(const std::string& sourcePath, uint64_t count) override {
        if (failed_ || fd_ < 0) return CopyResult::kWriteFailed;
        const int in = ::open(sourcePath.c_str(), O_RDONLY | O_CLOEXEC);
        if (in < 0) return CopyResult::kSourceFailed;
        struct stat info {};
        if (::fstat(in, &info) != 0 || !S_ISREG(info.st_mode)) {
            ::close(in);
            return CopyResult::kSourceFailed;
        }
        const CopyResult result = Copy(in, count);
        ::close(in);
        if (result == CopyResult::kWriteFailed) failed_ = true;
        return result;
    }

    bool Commit() override {
        if (fd_ < 0) return false;
        const bool closed = ::close(fd_) == 0;
        fd_ = -1;
        if (failed_ || !closed || ::rename(temp_.c_str(), final_.c_str()) != 0) {
            Abandon();
            return false;
        }
        Forget();
        return true;
    }

  private:
    // The kernel's own copy first; where the file systems do not allow it,
    // a plain read and write loop, which also tells a failing source from a
    // failing destination.
    CopyResult Copy(int in, uint64_t count) {
        uint64_t left = count;
        while (left > 0) {
            const std::size_t chunk =
                static_cast<std::size_t>(std::min<uint64_t>(left, uint64_t{1} << 30));
            const ssize_t n = ::copy_file_range(in, nullptr, fd_, nullptr, chunk, 0);
            if (n > 0) {
                left -= static_cast<uint64_t>(n);
                continue;
            }
            if (n == 0) return CopyResult::kOk;  // the source ended
            if (errno == EINTR) continue;
            if (errno == ENOSPC || errno == EFBIG || errno == EDQUOT) {
                return CopyResult::kWriteFailed;
            }
            break;  // not possible between these files: copy by hand
        }
        if (left == 0) return CopyResult::kOk;
        std::vector<uint8_t> buffer(1 << 20);
        while (left > 0) {
            const std::size_t want =
                static_cast<std::size_t>(std::min<uint64_t>(left, buffer.size()));
            const ssize_t n = ::read(in, buffer.data(), want);
            if (n < 0) {
                if (errno == EINTR) continue;
                return CopyResult::kSourceFailed;
            }
            if (n == 0) return CopyResult::kOk;
            if (!WriteAll(fd_, buffer.data(), static_cast<std::size_t>(n))) {
                return CopyResult::kWriteFailed;
            }
            left -= static_cast<uint64_t>(n);
        }
        return CopyResult::kOk;
    }

    void Abandon() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
        if (!temp_.empty()) ::unlink(temp_.c_str());
        Forget();
    }
    void Forget() {
        if (temp_.empty()) return;
        Registry& r = Temporaries();
        std::lock_guard lock(r.mutex);
        r.paths.erase(temp_);
        temp_.clear();
    }

    int fd_;
    std::string temp_;
    std::string final_;
    bool failed_ = false;
};

}  // namespace

bool IsTemporaryName(const std::string& name) {
    const std::string prefix = kTempPrefix;
    const std::string suffix = kTempSuffix;
    return name.size() > prefix.size() + suffix.size() && name.compare(0, prefix.size(), prefix) == 0 &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::unique_ptr<OutputFile> SafeOutputFiles::Create(const std::string& path) {
    // What an ordinary open for writing would refuse is refused here too:
    // a folder, something that is not a regular file, a read-only file. A
    // symbolic link is replaced, never written through, so that nothing
    // lands outside the folder.
    struct stat existing {};
    bool replacing = false;
    if (::lstat(path.c_str(), &existing) == 0) {
        if (S_ISLNK(existing.st_mode)) {
            struct stat target {};
            if (::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode)) return nullptr;
        } else if (!S_ISREG(existing.st_mode) || ::access(path.c_str(), W_OK) != 0) {
            return nullptr;
        } else {
            replacing = true;
        }
    } else if (errno != ENOENT) {
        return nullptr;
    }

    static std::atomic<unsigned> sequence{0};
    const std::string folder = FolderOf(path);
    Registry& r = Temporaries();
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string temp = folder + "/" + kTempPrefix + std::to_string(::getpid()) + "-" +
                                 std::to_string(sequence++) + kTempSuffix;
        std::lock_guard lock(r.mutex);
        if (r.stopped) return nullptr;
        const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            return nullptr;
        }
        if (replacing) {
            ::fchmod(fd, existing.st_mode & 07777);
            if (::geteuid() == 0) {
                [[maybe_unused]] const int ignored = ::fchown(fd, existing.st_uid, existing.st_gid);
            }
        }
        r.paths.insert(temp);
        return std::make_unique<SafeOutputFile>(fd, temp, path);
    }
    return nullptr;
}

SafeOutputFiles& SystemOutputFiles() {
    static SafeOutputFiles files;
    return files;
}

bool WriteWholeFile(OutputFiles& files, const std::string& path, const uint8_t* data,
                    std::size_t size) {
    const std::unique_ptr<OutputFile> file = files.Create(path);
    return file && file->Write(data, size) && file->Commit();
}

bool WriteWholeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    return WriteWholeFile(SystemOutputFiles(), path, bytes.data(), bytes.size());
}

bool CreateEmptyFile(OutputFiles& files, const std::string& path) {
    const std::unique_ptr<OutputFile> file = files.Create(path);
    return file && file->Commit();
}

void RemoveTemporariesAndStop() {
    Registry& r = Temporaries();
    std::lock_guard lock(r.mutex);
    r.stopped = true;
    for (const std::string& temp : r.paths) ::unlink(temp.c_str());
}

void RemoveStaleTemporaries(const std::string& folder) {
    DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
    if (dir == nullptr) return;
    const std::string prefix = kTempPrefix;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (!IsTemporaryName(name)) continue;
        // ".fmconv-<pid>-<n>.part": only a process that no longer runs
        // leaves its temporaries behind.
        const long pid = std::strtol(name.c_str() + prefix.size(), nullptr, 10);
        if (pid <= 0 || pid == ::getpid()) continue;
        if (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
        ::unlinkat(::dirfd(dir), name.c_str(), 0);
    }
    ::closedir(dir);
}

}  // namespace fmconv::platform
