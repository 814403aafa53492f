// Lowers this process's file-size limit for a scope: a write beyond it fails
// (EFBIG) as a write to a full disk does. The signal such a write raises is
// ignored meanwhile.
#pragma once

#include <signal.h>
#include <sys/resource.h>

#include <cstdint>

namespace fmconv::testing {

class FileSizeLimit {
  public:
    explicit FileSizeLimit(uint64_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &old_);
        rlimit lowered = old_;
        lowered.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &lowered);
        oldHandler_ = ::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        ::signal(SIGXFSZ, oldHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit old_{};
    sighandler_t oldHandler_ = SIG_DFL;
};

}  // namespace fmconv::testing
