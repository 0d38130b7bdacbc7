#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/GitRepository.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace Quillory;
using namespace QuilloryTest;

TEST(GitLargeStatus, FiveThousandChangesArriveWhileTheMainLoopKeepsTicking)
{
    LiveWindowHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<h1>Home</h1>\n");
    repository.commitAll("Home");
    // Untracked files at the top are listed one by one: about 100 KB of status, more than a pipe
    // holds, so the output must be read while Git writes it.
    for (int index = 0; index < 5000; ++index) {
        char name[32];
        std::snprintf(name, sizeof name, "note-%04d.txt", index);
        site.write(name, "n");
    }

    // Counts main-loop iterations from here on; the Git runs happen on the worker meanwhile.
    int ticks = 0;
    guint ticker = g_timeout_add(1, +[](gpointer data) -> gboolean {
        ++*static_cast<int*>(data);
        return G_SOURCE_CONTINUE;
    }, &ticks);
    int ticksWhenDone = -1;
    ScopedConnection arrival { harness.store.gitStatus().changed.connect([&] {
        if (harness.store.gitStatus()->state == GitStatusSnapshot::State::dirty)
            ticksWhenDone = ticks;
    }) };

    harness.store.loadWorkspace(site.path());
    ASSERT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    EXPECT_EQ(ticks, 0);
    ASSERT_TRUE(waitUntil([&] { return ticksWhenDone >= 0; }, std::chrono::seconds(60)));
    g_source_remove(ticker);

    const auto& status = harness.store.gitStatus().get();
    ASSERT_EQ(status.statusLines.size(), 5000u);
    EXPECT_EQ(status.statusLines.front(), "?? note-0000.txt");
    EXPECT_EQ(status.statusLines.back(), "?? note-4999.txt");
    EXPECT_EQ(status.title(), "5000 Git changes");
    EXPECT_GT(ticksWhenDone, 0);
    ASSERT_TRUE(waitUntil([&] { return harness.store.selectedPageGitSnapshot()->workspaceRelativePath == "index.html"; }));
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->otherStatusEntries.size(), 5000u);
}
