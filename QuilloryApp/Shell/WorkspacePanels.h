#pragma once

#include <gtk/gtk.h>

#include <filesystem>
#include <functional>

namespace Quillory::WorkspacePanels {

using ChosenFolder = std::function<void(const std::filesystem::path&)>;

// The open panel for one existing folder (accept label "Open Site"). `onChoose` runs only when
// the user confirms a local folder; the caller hands it to WorkspaceStore::loadWorkspace.
void openWorkspacePanel(GtkWindow* parent, ChosenFolder onChoose);

// The save panel that names a new site folder ("Create New Site", filled with "Untitled Site").
// `onChoose` gets the path of the folder to create; the caller hands it to
// WorkspaceStore::createStarterWorkspace.
void createWorkspacePanel(GtkWindow* parent, ChosenFolder onChoose);

}
