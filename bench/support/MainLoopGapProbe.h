#pragma once

#include "bench/support/ThreadCPUTime.h"

#include <glib.h>

#include <algorithm>
#include <chrono>

namespace QuilloryBench {

// Gaps of the main loop, seen by a high-priority source that fires every millisecond while the
// probe lives. How much of a gap the main thread spent on the processor tells its own work from a
// busy machine's.
class MainLoopGapProbe {
public:
    using Clock = std::chrono::steady_clock;

    MainLoopGapProbe() { m_id = g_timeout_add_full(G_PRIORITY_HIGH, 1, &MainLoopGapProbe::fire, this, nullptr); }
    ~MainLoopGapProbe() { g_source_remove(m_id); }
    MainLoopGapProbe(const MainLoopGapProbe&) = delete;
    MainLoopGapProbe& operator=(const MainLoopGapProbe&) = delete;

    Clock::time_point last { Clock::now() };
    double lastCPUMilliseconds { threadCPUMilliseconds() };
    Clock::duration longest {};
    double longestBusyMilliseconds { 0 };

private:
    static gboolean fire(gpointer data)
    {
        auto* probe = static_cast<MainLoopGapProbe*>(data);
        auto now = Clock::now();
        auto cpu = threadCPUMilliseconds();
        probe->longest = std::max(probe->longest, now - probe->last);
        probe->longestBusyMilliseconds = std::max(probe->longestBusyMilliseconds, cpu - probe->lastCPUMilliseconds);
        probe->last = now;
        probe->lastCPUMilliseconds = cpu;
        return G_SOURCE_CONTINUE;
    }

    guint m_id { 0 };
};

}
