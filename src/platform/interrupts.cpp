#include "platform/interrupts.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include "platform/output_files.h"

namespace fmconv::platform {

namespace {
sigset_t WatchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}
}  // namespace

void TreatFileSizeLimitAsFullDisk() {
    ::signal(SIGXFSZ, SIG_IGN);
}

InterruptWatcher::InterruptWatcher() {
    const sigset_t set = WatchedSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    thread_ = std::thread([this] { Watch(); });
}

InterruptWatcher::~InterruptWatcher() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
        cancel_ = nullptr;
    }
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
}

void InterruptWatcher::OnFirstSignal(std::function<void(int)> cancel) {
    std::lock_guard lock(mutex_);
    cancel_ = std::move(cancel);
}

void InterruptWatcher::Watch() {
    const sigset_t set = WatchedSignals();
    for (;;) {
        int received = 0;
        if (sigwait(&set, &received) != 0) continue;
        std::lock_guard lock(mutex_);
        if (closing_) return;
        if (signal_ == 0) {
            signal_ = received;
            if (cancel_) cancel_(received);
            continue;
        }
        // A second signal: stop now. Whatever is half written goes; files
        // already named are whole.
        RemoveTemporariesAndStop();
        ::_exit(kInterruptedExitCode);
    }
}

}  // namespace fmconv::platform
