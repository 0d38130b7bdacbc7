#pragma once

#include <adwaita.h>

#include <memory>
#include <vector>

namespace Quillory {

class ContentView;
class GLibScheduler;
class QuilloryTheme;
class WindowActions;
class SettingsView;
class WorkspaceStore;

// The application entry: one AdwApplication with one main window titled "Quillory", which holds
// the ContentView over the window's WorkspaceStore.
class QuilloryApplication {
public:
    static constexpr const char* applicationID = "app.quillory.Quillory";
    static constexpr int defaultWidth = 1440;
    static constexpr int defaultHeight = 860;
    static constexpr int minimumWidth = 1320;
    static constexpr int minimumHeight = 720;

    QuilloryApplication();
    ~QuilloryApplication();
    QuilloryApplication(const QuilloryApplication&) = delete;
    QuilloryApplication& operator=(const QuilloryApplication&) = delete;

    int run(int argc, char** argv);
    AdwApplication* application() const { return m_application; }

    // Builds the main window for the application; separate so tests can build it directly.
    static GtkWidget* makeMainWindow(GtkApplication*);

private:
    void activate();
    void showPreferences();
    bool windowShouldClose();

    AdwApplication* m_application;
    // The main window's state, made on the first activation; the views go before the store
    // they observe.
    std::unique_ptr<QuilloryTheme> m_theme;
    std::unique_ptr<GLibScheduler> m_scheduler;
    std::unique_ptr<WorkspaceStore> m_store;
    std::unique_ptr<ContentView> m_contentView;
    std::unique_ptr<WindowActions> m_windowActions;
    // Made on first use; one for the application's life.
    std::unique_ptr<SettingsView> m_settingsView;
    std::vector<guint> m_signalSources;
};

}
