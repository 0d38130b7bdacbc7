#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace Quillory {

// The handle of a delayed callback. Cancelling, or destroying the handle, stops a callback that
// has not run yet; cancelling after it ran does nothing. Move-only.
class ScheduledTask {
public:
    ScheduledTask() = default;
    explicit ScheduledTask(std::function<void()> canceller)
        : m_canceller(std::move(canceller))
    {
    }
    ScheduledTask(ScheduledTask&& other) noexcept
        : m_canceller(std::exchange(other.m_canceller, nullptr))
    {
    }
    ScheduledTask& operator=(ScheduledTask&& other) noexcept
    {
        if (this != &other) {
            cancel();
            m_canceller = std::exchange(other.m_canceller, nullptr);
        }
        return *this;
    }
    ScheduledTask(const ScheduledTask&) = delete;
    ScheduledTask& operator=(const ScheduledTask&) = delete;
    ~ScheduledTask() { cancel(); }

    void cancel()
    {
        if (auto canceller = std::exchange(m_canceller, nullptr))
            canceller();
    }

private:
    std::function<void()> m_canceller;
};

// Where stores put their delays and their background work, so that tests can drive time and
// workers by hand. Every callback and completion runs on the main thread.
class Scheduler {
public:
    virtual ~Scheduler() = default;

    // Calls `callback` once on the main thread after `delay`, unless the returned handle is
    // cancelled or destroyed first.
    [[nodiscard]] virtual ScheduledTask schedule(std::chrono::milliseconds delay, std::function<void()> callback) = 0;

    // Runs `work` on a worker thread and hands its value to `completion` on the main thread.
    // `work` must touch only what it captured by value. A begun `work` runs to its end and its
    // completion always comes; whoever started it decides whether the result still counts.
    template<class Work, class Completion>
    void runInBackground(Work work, Completion completion)
    {
        using Result = std::invoke_result_t<Work&>;
        auto result = std::make_shared<std::optional<Result>>();
        dispatch([result, work = std::move(work)]() mutable { result->emplace(work()); },
                 [result, completion = std::move(completion)]() mutable { completion(std::move(**result)); });
    }

protected:
    // Runs `work` off the main thread, then `completion` on it.
    virtual void dispatch(std::function<void()> work, std::function<void()> completion) = 0;
};

}
