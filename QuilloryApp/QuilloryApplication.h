#pragma once

#include <adwaita.h>

namespace Quillory {

// The application entry: one AdwApplication with one main window titled "Quillory".
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
    AdwApplication* m_application;
};

}
