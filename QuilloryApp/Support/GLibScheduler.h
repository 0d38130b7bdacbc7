#pragma once

#include "QuilloryApp/Support/Scheduler.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace Quillory {

// The application's scheduler: delays are GLib timeouts on the default main context, background
// work runs on one worker thread in the order it was handed in, and completions come back through
// the default main context (an idle source).
class GLibScheduler final : public Scheduler {
public:
    GLibScheduler();
    // Waits for the work already begun and handed in; their completions still reach the main loop.
    ~GLibScheduler() override;

    ScheduledTask schedule(std::chrono::milliseconds delay, std::function<void()> callback) override;

protected:
    void dispatch(std::function<void()> work, std::function<void()> completion) override;

private:
    struct Job {
        std::function<void()> work;
        std::function<void()> completion;
    };
    void workerLoop();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::deque<Job> m_jobs;
    bool m_stopping { false };
    std::thread m_worker;
};

}
