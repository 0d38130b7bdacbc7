#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <string>

namespace Quillory {

class WorkspaceStore;

// The modal sheet that asks for a live page's URL and starts the fetch. It shows the store's
// progress, error and summary while it is open; closing only hides it, so that the typed URL
// stays for the next time.
class FetchLiveSiteSheet {
public:
    FetchLiveSiteSheet(WorkspaceStore&, GtkWindow* parent);
    ~FetchLiveSiteSheet();
    FetchLiveSiteSheet(const FetchLiveSiteSheet&) = delete;
    FetchLiveSiteSheet& operator=(const FetchLiveSiteSheet&) = delete;

    // Shows the sheet with the URL field focused.
    void present();
    void close();
    bool isPresented() const;
    // Submitting the field and "Fetch" both come here.
    void fetch();

    std::string urlString() const;
    GtkWidget* window() const { return m_window.get(); }
    GtkEntry* urlEntry() const { return m_urlEntry; }
    GtkWidget* fetchButton() const { return m_fetchButton; }
    GtkWidget* cancelButton() const { return m_cancelButton; }
    GtkWidget* loadingRow() const { return m_loadingRow; }
    GtkWidget* errorRow() const { return m_errorRow; }
    GtkLabel* errorLabel() const { return m_errorLabel; }
    GtkWidget* summaryRow() const { return m_summaryRow; }
    GtkLabel* summaryLabel() const { return m_summaryLabel; }

private:
    void update();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_window;
    GtkEntry* m_urlEntry { nullptr };
    GtkWidget* m_fetchButton { nullptr };
    GtkWidget* m_cancelButton { nullptr };
    GtkWidget* m_loadingRow { nullptr };
    GtkWidget* m_spinner { nullptr };
    GtkWidget* m_errorRow { nullptr };
    GtkLabel* m_errorLabel { nullptr };
    GtkWidget* m_summaryRow { nullptr };
    GtkLabel* m_summaryLabel { nullptr };
    ViewConnections m_connections;
};

}
