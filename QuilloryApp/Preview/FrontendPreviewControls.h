#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Frontend/FrontendPreviewState.h"
#include "QuilloryCore/Frontend/FrontendProjectKind.h"

#include <gtk/gtk.h>

#include <functional>
#include <optional>

namespace Quillory {

// The preview header's part for a frontend project: the caption "Vite React", the preview state in
// its status colour (its whole text as tooltip), and image buttons for the controls of that state: restart and stop while running, install while
// dependencies are missing, a spinner while installing, start otherwise. Hidden without a project.
class FrontendPreviewControls {
public:
    struct Actions {
        std::function<void()> onStart;
        std::function<void()> onStop;
        std::function<void()> onRestart;
        std::function<void()> onInstall;
    };

    FrontendPreviewControls();
    ~FrontendPreviewControls();
    FrontendPreviewControls(const FrontendPreviewControls&) = delete;
    FrontendPreviewControls& operator=(const FrontendPreviewControls&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    GtkLabel* caption() const { return m_caption; }
    GtkLabel* statusLabel() const { return m_statusLabel; }
    GtkButton* startButton() const { return m_startButton; }
    GtkButton* stopButton() const { return m_stopButton; }
    GtkButton* restartButton() const { return m_restartButton; }
    GtkButton* installButton() const { return m_installButton; }
    GtkSpinner* installSpinner() const { return m_installSpinner; }

    void update(std::optional<FrontendProjectKind>, const FrontendPreviewState&, Actions);

private:
    GtkButton* makeButton(const char* systemImageName, const char* label, const char* help, std::function<void()> Actions::*action);

    GRef<GtkWidget> m_root;
    GtkLabel* m_caption { nullptr };
    GtkLabel* m_statusLabel { nullptr };
    GtkButton* m_startButton { nullptr };
    GtkButton* m_stopButton { nullptr };
    GtkButton* m_restartButton { nullptr };
    GtkButton* m_installButton { nullptr };
    GtkSpinner* m_installSpinner { nullptr };
    Actions m_actions;
};

}
