#pragma once

#include "QuilloryApp/Support/Scheduler.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace QuilloryTest {

// A scheduler whose clock and worker the test drives, so that delays are exact and instant.
// Stands in for the GLib main loop and worker thread only; everything it runs is the real code.
// Background work runs on the test's thread when the test says so, and its completion is held
// back until the test delivers it, so a test can change the store while a write is "in flight".
class ManualScheduler final : public Quillory::Scheduler {
public:
    Quillory::ScheduledTask schedule(std::chrono::milliseconds delay, std::function<void()> callback) override;

    // Moves the clock forward, running every callback that falls due, earliest first.
    void advance(std::chrono::milliseconds);
    std::chrono::milliseconds now() const { return m_now; }
    // Callbacks scheduled and neither run nor cancelled.
    std::size_t pendingTimerCount() const;

    // Runs the work handed in so far, as the worker would, and holds its completions.
    void runBackgroundWork();
    // Runs the held completions, as the main loop would.
    void deliverCompletions();
    void runBackgroundWorkAndDeliver();
    std::size_t pendingWorkCount() const { return m_work.size(); }
    std::size_t pendingCompletionCount() const { return m_completions.size(); }
    // How many pieces of background work were ever handed in.
    std::size_t dispatchedWorkCount() const { return m_dispatchedWorkCount; }

protected:
    void dispatch(std::function<void()> work, std::function<void()> completion) override;

private:
    struct Timer {
        std::chrono::milliseconds due;
        std::size_t order;
        std::function<void()> callback;
        bool done { false };
    };

    std::chrono::milliseconds m_now { 0 };
    std::size_t m_nextOrder { 0 };
    std::vector<std::shared_ptr<Timer>> m_timers;
    std::deque<std::pair<std::function<void()>, std::function<void()>>> m_work;
    std::deque<std::function<void()>> m_completions;
    std::size_t m_dispatchedWorkCount { 0 };
};

}
