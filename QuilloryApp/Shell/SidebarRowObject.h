#pragma once

#include "QuilloryApp/Shell/SidebarRow.h"

#include <glib-object.h>

G_BEGIN_DECLS

// The list-model item that carries one SidebarRow into the sidebar's GtkListView.
#define QUILLORY_TYPE_SIDEBAR_ROW_OBJECT (quillory_sidebar_row_object_get_type())
G_DECLARE_FINAL_TYPE(QuillorySidebarRowObject, quillory_sidebar_row_object, QUILLORY, SIDEBAR_ROW_OBJECT, GObject)

G_END_DECLS

namespace Quillory::SidebarRowObject {

// A new item holding the row; the caller owns the returned reference.
QuillorySidebarRowObject* make(SidebarRow);
const SidebarRow& row(QuillorySidebarRowObject*);

}
