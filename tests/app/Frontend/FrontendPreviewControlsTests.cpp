// The preview header's frontend part by state, and the install confirmation of the window.

#include "QuilloryApp/Frontend/FrontendInstallConfirmation.h"
#include "QuilloryApp/Preview/FrontendPreviewControls.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "app/support/FrontendFixture.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <adwaita.h>
#include <gtest/gtest.h>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

std::string tooltip(GtkButton* button)
{
    const char* text = gtk_widget_get_tooltip_text(GTK_WIDGET(button));
    return text ? text : "";
}

bool visible(GtkButton* button)
{
    return gtk_widget_get_visible(GTK_WIDGET(button));
}

TEST(FrontendPreviewControls, EachStateShowsItsControlsWithTheirHelpAndColour)
{
    FrontendPreviewControls controls;
    int starts = 0, stops = 0, restarts = 0, installs = 0;
    FrontendPreviewControls::Actions actions { [&] { ++starts; }, [&] { ++stops; }, [&] { ++restarts; }, [&] { ++installs; } };

    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(controls.restartButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Restart Preview");
    EXPECT_EQ(tooltip(controls.restartButton()), "Restart the Vite dev server");
    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(controls.stopButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Stop Preview");
    EXPECT_EQ(tooltip(controls.stopButton()), "Stop the Vite dev server");
    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(controls.installButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Install Dependencies");
    EXPECT_EQ(tooltip(controls.installButton()), "Run npm install in the opened project");
    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(controls.startButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Start Preview");
    EXPECT_EQ(tooltip(controls.startButton()), "Start the Vite dev server");

    // Without a project there is nothing at all.
    controls.update(std::nullopt, FrontendPreviewState::unsupported("No Vite React project detected."), actions);
    EXPECT_FALSE(gtk_widget_get_visible(controls.widget()));

    struct Case {
        FrontendPreviewState state;
        bool start, stop, restart, install, spinner;
        const char* colour;
    };
    for (const auto& each : {
             Case { FrontendPreviewState::running("http://127.0.0.1:5173/"), false, true, true, false, false, "success" },
             Case { FrontendPreviewState::needsInstall(), false, false, false, true, false, "warning" },
             Case { FrontendPreviewState::installing(), false, false, false, false, true, "dim-label" },
             Case { FrontendPreviewState::failed("Vite preview stopped."), true, false, false, false, false, "error" },
             Case { FrontendPreviewState::ready(), true, false, false, false, false, "dim-label" },
             Case { FrontendPreviewState::stopped(), true, false, false, false, false, "dim-label" },
         }) {
        controls.update(FrontendProjectKind::viteReact, each.state, actions);
        SCOPED_TRACE(std::string(each.state.caseName()));
        EXPECT_TRUE(gtk_widget_get_visible(controls.widget()));
        EXPECT_STREQ(gtk_label_get_text(controls.caption()), "Vite React");
        EXPECT_EQ(gtk_label_get_text(controls.statusLabel()), each.state.displayText());
        EXPECT_EQ(visible(controls.startButton()), each.start);
        EXPECT_EQ(visible(controls.stopButton()), each.stop);
        EXPECT_EQ(visible(controls.restartButton()), each.restart);
        EXPECT_EQ(visible(controls.installButton()), each.install);
        EXPECT_EQ(gtk_widget_get_visible(GTK_WIDGET(controls.installSpinner())), each.spinner);
        for (const char* colour : { "success", "warning", "error", "dim-label" })
            EXPECT_EQ(gtk_widget_has_css_class(GTK_WIDGET(controls.statusLabel()), colour), std::string(colour) == each.colour) << colour;
    }

    for (GtkButton* button : { controls.startButton(), controls.stopButton(), controls.restartButton(), controls.installButton() })
        g_signal_emit_by_name(button, "clicked");
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(restarts, 1);
    EXPECT_EQ(installs, 1);
}

TEST(FrontendPreviewControls, PreviewHeaderShowsThemOnlyForAFrontendProject)
{
    ViewHarness harness;
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    window.waitForFrame();
    auto& controls = content.editorPreview().previewPane().frontendPreviewControls();
    EXPECT_TRUE(gtk_widget_get_mapped(controls.widget()));
    EXPECT_STREQ(gtk_label_get_text(controls.statusLabel()), "Dependencies not installed");
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(controls.installButton())));

    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>");
    harness.store.loadWorkspace(site.path());
    window.waitForFrame();
    EXPECT_FALSE(gtk_widget_get_visible(controls.widget()));
}

TEST(FrontendPreviewControls, InstallConfirmationCancelsAndConfirms)
{
    // A fake npm that succeeds at once: the dialog's way to the install is what is tested here;
    // the real install runs in WorkspaceStoreFrontendInstall.
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "echo 'added 0 packages'\nexit 0") });
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    auto root = copyFrontendFixture(folder, FixtureNodeModules::absent);
    harness.store.loadWorkspace(root);
    window.waitForFrame();
    EXPECT_EQ(content.frontendInstallConfirmation(), nullptr);

    g_signal_emit_by_name(content.editorPreview().previewPane().frontendPreviewControls().installButton(), "clicked");
    ASSERT_TRUE(harness.store.isShowingFrontendInstallConfirmation());
    ASSERT_NE(content.frontendInstallConfirmation(), nullptr);
    auto* dialog = ADW_MESSAGE_DIALOG(content.frontendInstallConfirmation()->dialog());
    EXPECT_STREQ(adw_message_dialog_get_heading(dialog), "Install frontend dependencies?");
    EXPECT_EQ(std::string(adw_message_dialog_get_body(dialog)), "Quillory will run `npm install` in " + root.string() + ".");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, FrontendInstallConfirmation::installResponse), "Run npm install");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, FrontendInstallConfirmation::cancelResponse), "Cancel");

    adw_message_dialog_response(dialog, FrontendInstallConfirmation::cancelResponse);
    EXPECT_FALSE(harness.store.isShowingFrontendInstallConfirmation());
    EXPECT_EQ(content.frontendInstallConfirmation(), nullptr);
    drainMainLoop();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());

    harness.store.requestFrontendDependencyInstall();
    ASSERT_NE(content.frontendInstallConfirmation(), nullptr);
    adw_message_dialog_response(ADW_MESSAGE_DIALOG(content.frontendInstallConfirmation()->dialog()), FrontendInstallConfirmation::installResponse);
    EXPECT_EQ(content.frontendInstallConfirmation(), nullptr);
    // The install starts from the main loop, after the dialog has gone.
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());
    ASSERT_TRUE(waitUntil([&] { return harness.store.frontendPreviewStore().state().get() == FrontendPreviewState::ready(); }));
    EXPECT_EQ(harness.store.frontendPreviewStore().logText().get(), "$ npm install\nadded 0 packages\n");
}

}
