// Prepare ahead, commit in order. Preparing a file (reading its source and
// building its bytes) touches nothing in the destination, so worker threads
// prepare the files of a run ahead of the one thread that commits them, in
// list order. A bounded number of prepared files is kept, each in a slot
// that is reused from file to file, so memory stays flat however many files
// the run has.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace fmconv {

template <typename Prepared>
class Pipeline {
  public:
    using Prepare = std::function<void(int index, Prepared& into)>;

    // Files 0 .. count - 1; `slots` prepared files at most (the one being
    // committed included), `workers` threads preparing (each calls
    // onWorkerStart first).
    Pipeline(int count, int workers, int slots, Prepare prepare,
             std::function<void()> onWorkerStart = nullptr)
        : count_(count), prepare_(std::move(prepare)) {
        slots = std::max(slots, 2);
        for (int i = 0; i < slots; ++i) slots_.push_back({std::make_unique<Prepared>(), -1});
        for (int w = 0; w < std::max(workers, 1); ++w) {
            workers_.emplace_back([this, onWorkerStart] {
                if (onWorkerStart) onWorkerStart();
                Work();
            });
        }
    }
    // Stops: files not started are never prepared; files being prepared are
    // finished and dropped.
    ~Pipeline() {
        {
            std::lock_guard lock(mutex_);
            stopped_ = true;
        }
        changed_.notify_all();
        for (std::thread& worker : workers_) worker.join();
    }
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    // File `index` prepared; indexes are taken in order from 0. The slot
    // stays the caller's until the next Take, which hands it back.
    Prepared& Take(int index) {
        std::unique_lock lock(mutex_);
        held_ = index;
        changed_.notify_all();
        Slot& slot = slots_[SlotOf(index)];
        changed_.wait(lock, [&] { return slot.ready == index; });
        return *slot.prepared;
    }

  private:
    struct Slot {
        std::unique_ptr<Prepared> prepared;
        int ready;  // the index whose preparation the slot holds, or -1
    };
    std::size_t SlotOf(int index) const { return static_cast<std::size_t>(index) % slots_.size(); }

    void Work() {
        for (;;) {
            int index;
            {
                std::unique_lock lock(mutex_);
                // A file may start when its slot is free: neither held by the
                // committer nor holding a file not yet taken.
                changed_.wait(lock, [&] {
                    return stopped_ ||
                           (next_ < count_ && next_ < held_ + static_cast<int>(slots_.size()));
                });
                if (stopped_) return;
                index = next_++;
            }
            Slot& slot = slots_[SlotOf(index)];
            prepare_(index, *slot.prepared);
            {
                std::lock_guard lock(mutex_);
                slot.ready = index;
            }
            changed_.notify_all();
        }
    }

    const int count_;
    const Prepare prepare_;
    std::vector<Slot> slots_;
    std::vector<std::thread> workers_;
    std::mutex mutex_;
    std::condition_variable changed_;
    int next_ = 0;   // the next file to start
    int held_ = -1;  // the file the committer holds or waits for
    bool stopped_ = false;
};

}  // namespace fmconv
