#include "QuilloryApp/Shell/SidebarRowObject.h"

#include <utility>

struct _QuillorySidebarRowObject {
    GObject parentInstance;
    // The C++ state lives in its own allocation, made in init and deleted in finalize.
    Quillory::SidebarRow* row;
};

G_DEFINE_FINAL_TYPE(QuillorySidebarRowObject, quillory_sidebar_row_object, G_TYPE_OBJECT)

static void quillory_sidebar_row_object_finalize(GObject* object)
{
    delete QUILLORY_SIDEBAR_ROW_OBJECT(object)->row;
    G_OBJECT_CLASS(quillory_sidebar_row_object_parent_class)->finalize(object);
}

static void quillory_sidebar_row_object_class_init(QuillorySidebarRowObjectClass* objectClass)
{
    G_OBJECT_CLASS(objectClass)->finalize = quillory_sidebar_row_object_finalize;
}

static void quillory_sidebar_row_object_init(QuillorySidebarRowObject* self)
{
    self->row = new Quillory::SidebarRow { Quillory::SidebarRowKind::sectionHeader, {}, {}, {}, {}, {} };
}

namespace Quillory::SidebarRowObject {

QuillorySidebarRowObject* make(SidebarRow row)
{
    auto* object = QUILLORY_SIDEBAR_ROW_OBJECT(g_object_new(QUILLORY_TYPE_SIDEBAR_ROW_OBJECT, nullptr));
    *object->row = std::move(row);
    return object;
}

const SidebarRow& row(QuillorySidebarRowObject* object)
{
    return *object->row;
}

}
