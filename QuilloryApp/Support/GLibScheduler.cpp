#include "QuilloryApp/Support/GLibScheduler.h"

#include <glib.h>

namespace Quillory {

namespace {

// Shared by the timeout source and the task handle, so that either may outlive the other.
struct PendingTimeout {
    std::function<void()> callback;
    guint sourceID { 0 };
};

}

GLibScheduler::GLibScheduler()
    : m_worker([this] { workerLoop(); })
{
}

GLibScheduler::~GLibScheduler()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wakeUp.notify_all();
    m_worker.join();
}

ScheduledTask GLibScheduler::schedule(std::chrono::milliseconds delay, std::function<void()> callback)
{
    auto pending = std::make_shared<PendingTimeout>();
    pending->callback = std::move(callback);
    pending->sourceID = g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()),
        +[](gpointer data) -> gboolean {
            // Keep the state alive while the callback runs, even if it drops the handle.
            auto state = *static_cast<std::shared_ptr<PendingTimeout>*>(data);
            state->sourceID = 0;
            auto due = std::move(state->callback);
            due();
            return G_SOURCE_REMOVE;
        },
        new std::shared_ptr<PendingTimeout>(pending),
        +[](gpointer data) { delete static_cast<std::shared_ptr<PendingTimeout>*>(data); });

    return ScheduledTask([weakPending = std::weak_ptr<PendingTimeout>(pending)] {
        auto state = weakPending.lock();
        if (!state || state->sourceID == 0)
            return;
        g_source_remove(std::exchange(state->sourceID, 0));
    });
}

void GLibScheduler::dispatch(std::function<void()> work, std::function<void()> completion)
{
    {
        std::lock_guard lock(m_mutex);
        m_jobs.push_back({ std::move(work), std::move(completion) });
    }
    m_wakeUp.notify_one();
}

void GLibScheduler::workerLoop()
{
    for (;;) {
        Job job;
        {
            std::unique_lock lock(m_mutex);
            m_wakeUp.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
            if (m_jobs.empty())
                return;
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        job.work();
        // An idle source always runs on the thread that iterates the default context, where
        // g_main_context_invoke could run the completion right here when the main loop is idle.
        g_idle_add_full(
            G_PRIORITY_DEFAULT,
            +[](gpointer data) -> gboolean {
                (*static_cast<std::function<void()>*>(data))();
                return G_SOURCE_REMOVE;
            },
            new std::function<void()>(std::move(job.completion)),
            +[](gpointer data) { delete static_cast<std::function<void()>*>(data); });
    }
}

}
