#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace Quillory {

// The confirmation before `npm install`: "Install frontend dependencies?" with the command's
// description, "Run npm install" and "Cancel". The answer comes once, true on "Run npm install";
// closing the dialog any other way counts as "Cancel".
class FrontendInstallConfirmation {
public:
    static constexpr const char* installResponse = "install";
    static constexpr const char* cancelResponse = "cancel";

    FrontendInstallConfirmation(GtkWindow* parent, const std::string& description, std::function<void(bool confirmed)> onAnswer);
    // Closes the dialog if it is still up, without an answer.
    ~FrontendInstallConfirmation();
    FrontendInstallConfirmation(const FrontendInstallConfirmation&) = delete;
    FrontendInstallConfirmation& operator=(const FrontendInstallConfirmation&) = delete;

    GtkWindow* dialog() const { return GTK_WINDOW(m_dialog.get()); }

private:
    void answer(const char* response);

    GRef<GtkWidget> m_dialog;
    std::function<void(bool)> m_onAnswer;
};

}
