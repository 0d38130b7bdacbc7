#include "QuilloryApp/Shell/WorkspacePanels.h"

#include <optional>
#include <utility>

namespace Quillory::WorkspacePanels {

namespace {

// Shows the dialog and hands a confirmed local path to `onChoose`. The dialog holds itself and
// the callback until it answers.
void run(GtkFileChooserNative* dialog, ChosenFolder onChoose)
{
    g_signal_connect_data(dialog, "response",
        G_CALLBACK(+[](GtkNativeDialog* answered, int response, ChosenFolder* chosen) {
            std::optional<std::filesystem::path> path;
            if (response == GTK_RESPONSE_ACCEPT) {
                if (GFile* file = gtk_file_chooser_get_file(GTK_FILE_CHOOSER(answered))) {
                    // A remote location has no local path and is no site folder.
                    if (char* localPath = g_file_get_path(file)) {
                        path = std::filesystem::path(localPath);
                        g_free(localPath);
                    }
                    g_object_unref(file);
                }
            }
            gtk_native_dialog_destroy(answered);
            if (path)
                (*chosen)(*path);
            g_object_unref(answered);
        }),
        new ChosenFolder(std::move(onChoose)),
        +[](gpointer chosen, GClosure*) { delete static_cast<ChosenFolder*>(chosen); },
        GConnectFlags(0));
    gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(dialog), TRUE);
    gtk_native_dialog_show(GTK_NATIVE_DIALOG(dialog));
}

}

void openWorkspacePanel(GtkWindow* parent, ChosenFolder onChoose)
{
    // The panel has no separate message line; its title carries the message.
    GtkFileChooserNative* dialog = gtk_file_chooser_native_new("Choose an existing local website or frontend project folder.", parent,
        GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, "Open Site", nullptr);
    gtk_file_chooser_set_select_multiple(GTK_FILE_CHOOSER(dialog), FALSE);
    run(dialog, std::move(onChoose));
}

void createWorkspacePanel(GtkWindow* parent, ChosenFolder onChoose)
{
    GtkFileChooserNative* dialog = gtk_file_chooser_native_new("Create New Site", parent, GTK_FILE_CHOOSER_ACTION_SAVE, "Create Site", nullptr);
    gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(dialog), "Untitled Site");
    gtk_file_chooser_set_create_folders(GTK_FILE_CHOOSER(dialog), TRUE);
    run(dialog, std::move(onChoose));
}

}
