#include "QuilloryApp/Editor/SourceEditorFindActivator.h"

namespace Quillory::SourceEditorFindActivator {

namespace {

SourceEditorView* activeEditorPointer = nullptr;

bool isInActiveWindow(SourceEditorView* editor)
{
    auto* root = gtk_widget_get_root(editor->widget());
    return GTK_IS_WINDOW(root) && gtk_window_is_active(GTK_WINDOW(root));
}

}

SourceEditorView* activeEditor()
{
    return activeEditorPointer;
}

void setActiveEditor(SourceEditorView* editor)
{
    activeEditorPointer = editor;
}

void editorWillGoAway(SourceEditorView* editor)
{
    if (activeEditorPointer == editor)
        activeEditorPointer = nullptr;
}

void perform(FindAction action)
{
    auto* editor = activeEditorPointer;
    if (!editor || !isInActiveWindow(editor))
        return;
    auto* window = GTK_WINDOW(gtk_widget_get_root(editor->widget()));
    auto* focus = gtk_window_get_focus(window);
    bool focusMoved = false;
    if (!focus || !gtk_widget_is_ancestor(focus, editor->widget())) {
        gtk_widget_grab_focus(GTK_WIDGET(editor->sourceView()));
        focusMoved = true;
    }
    editor->performFindAction(action);
    if (focusMoved && (action == FindAction::showFindInterface || action == FindAction::showReplaceInterface))
        editor->flashFindBar();
}

void jumpToSelection()
{
    if (auto* editor = activeEditorPointer; editor && isInActiveWindow(editor))
        editor->centerSelectionInVisibleArea();
}

}
