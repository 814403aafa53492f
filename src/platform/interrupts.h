// SIGINT and SIGTERM for the command line's runs: the first one asks the run
// to stop as Cancel does (the file in hand is completed or rolled back, no
// further file starts); a second one ends the process at once, after the
// temporaries of the files being written are removed.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace fmconv::platform {

class InterruptWatcher {
  public:
    // Must be made before any other thread starts: the signals are then
    // blocked in every thread and taken by the watcher's own.
    InterruptWatcher();
    ~InterruptWatcher();
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;

    // What the first signal does; called on the watcher's thread.
    void OnFirstSignal(std::function<void(int signal)> cancel);
    // The first signal's number, or 0 when none came.
    int Signal() const { return signal_; }

  private:
    void Watch();

    std::mutex mutex_;
    std::function<void(int)> cancel_;
    std::atomic<int> signal_{0};
    std::atomic<bool> closing_{false};
    std::thread thread_;
};

// A write beyond the process's file-size limit then fails as a write to a
// full disk does (and is handled as one) instead of ending the process.
void TreatFileSizeLimitAsFullDisk();

// Exit code of a command line run ended by a signal.
constexpr int kInterruptedExitCode = 130;

}  // namespace fmconv::platform
