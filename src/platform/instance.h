// The single-instance guard: a named lock that a second process sees. It is
// held from start-up until the holder releases it or ends.
#pragma once

#include <memory>
#include <string>

namespace fmconv::platform {

class InstanceLock {
  public:
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    struct Result {
        bool alreadyExists = false;          // another process holds the lock
        std::unique_ptr<InstanceLock> lock;  // null when it exists or could not be made
    };
    // Takes the lock of that name for this user. When it cannot be made at
    // all (no place to keep it), the caller goes on as the only copy.
    static Result Create(const std::string& name);

    // Where the lock of that name lives.
    static std::string PathFor(const std::string& name);

  private:
    explicit InstanceLock(int fd) : fd_(fd) {}
    int fd_;
};

}  // namespace fmconv::platform
