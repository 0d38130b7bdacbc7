#include "QuilloryApp/Frontend/FrontendInstallConfirmation.h"

#include <adwaita.h>

#include <cstring>

namespace Quillory {

FrontendInstallConfirmation::FrontendInstallConfirmation(GtkWindow* parent, const std::string& description, std::function<void(bool)> onAnswer)
    : m_onAnswer(std::move(onAnswer))
{
    GtkWidget* dialog = adw_message_dialog_new(parent, "Install frontend dependencies?", description.c_str());
    adw_message_dialog_add_responses(ADW_MESSAGE_DIALOG(dialog), cancelResponse, "Cancel", installResponse, "Run npm install", nullptr);
    adw_message_dialog_set_response_appearance(ADW_MESSAGE_DIALOG(dialog), installResponse, ADW_RESPONSE_SUGGESTED);
    adw_message_dialog_set_default_response(ADW_MESSAGE_DIALOG(dialog), installResponse);
    adw_message_dialog_set_close_response(ADW_MESSAGE_DIALOG(dialog), cancelResponse);
    m_dialog = GRef<GtkWidget>::retain(dialog);
    g_signal_connect_swapped(dialog, "response", G_CALLBACK(+[](FrontendInstallConfirmation* self, const char* response) { self->answer(response); }), this);
    gtk_window_present(GTK_WINDOW(dialog));
}

FrontendInstallConfirmation::~FrontendInstallConfirmation()
{
    g_signal_handlers_disconnect_by_data(m_dialog.get(), this);
    gtk_window_destroy(GTK_WINDOW(m_dialog.get()));
}

void FrontendInstallConfirmation::answer(const char* response)
{
    // The answer comes once; the callback may destroy this object.
    auto onAnswer = std::exchange(m_onAnswer, nullptr);
    if (onAnswer)
        onAnswer(response && std::strcmp(response, installResponse) == 0);
}

}
