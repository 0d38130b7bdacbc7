#include "app/support/ManualScheduler.h"

#include <algorithm>

namespace QuilloryTest {

Quillory::ScheduledTask ManualScheduler::schedule(std::chrono::milliseconds delay, std::function<void()> callback)
{
    auto timer = std::make_shared<Timer>(Timer { m_now + delay, m_nextOrder++, std::move(callback) });
    m_timers.push_back(timer);
    return Quillory::ScheduledTask([weakTimer = std::weak_ptr<Timer>(timer)] {
        if (auto cancelled = weakTimer.lock())
            cancelled->done = true;
    });
}

void ManualScheduler::advance(std::chrono::milliseconds duration)
{
    auto target = m_now + duration;
    for (;;) {
        std::erase_if(m_timers, [](const auto& timer) { return timer->done; });
        auto next = std::min_element(m_timers.begin(), m_timers.end(), [](const auto& a, const auto& b) {
            return a->due != b->due ? a->due < b->due : a->order < b->order;
        });
        if (next == m_timers.end() || (*next)->due > target)
            break;
        auto timer = *next;
        m_now = timer->due;
        timer->done = true;
        auto callback = std::move(timer->callback);
        callback();
    }
    m_now = target;
}

std::size_t ManualScheduler::pendingTimerCount() const
{
    return static_cast<std::size_t>(std::count_if(m_timers.begin(), m_timers.end(), [](const auto& timer) { return !timer->done; }));
}

void ManualScheduler::dispatch(std::function<void()> work, std::function<void()> completion)
{
    ++m_dispatchedWorkCount;
    m_work.emplace_back(std::move(work), std::move(completion));
}

void ManualScheduler::runBackgroundWork()
{
    while (!m_work.empty()) {
        auto [work, completion] = std::move(m_work.front());
        m_work.pop_front();
        work();
        m_completions.push_back(std::move(completion));
    }
}

void ManualScheduler::deliverCompletions()
{
    while (!m_completions.empty()) {
        auto completion = std::move(m_completions.front());
        m_completions.pop_front();
        completion();
    }
}

void ManualScheduler::runBackgroundWorkAndDeliver()
{
    runBackgroundWork();
    deliverCompletions();
}

}
