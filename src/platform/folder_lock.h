// A run holds its destination folder for itself: an advisory lock on the
// folder, seen by every process of the program (the window, `fmconv ui`,
// `fmconv convert`), so that two runs never take the same register numbers
// or overwrite each other's files.
#pragma once

#include <memory>
#include <string>

namespace fmconv::platform {

class FolderLock {
  public:
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    enum class Outcome {
        kHeld,         // the folder is ours until the lock is destroyed
        kInUse,        // another run holds it
        kUnavailable,  // the folder cannot be locked (missing, or a file system
                       // without locks); the run goes on as before
    };
    struct Result {
        Outcome outcome = Outcome::kUnavailable;
        std::unique_ptr<FolderLock> lock;  // set when held
    };
    // Takes the lock without waiting.
    static Result TryLock(const std::string& folder);

  private:
    explicit FolderLock(int fd) : fd_(fd) {}
    int fd_;
};

}  // namespace fmconv::platform
