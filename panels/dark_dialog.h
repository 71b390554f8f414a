#pragma once
// The one look of the player's dialogs and tool windows: the dark of the
// menus, set as the palette of a top-level widget and inherited by its
// children. Interface thread only.

class QWidget;

namespace zelvaro {

void ApplyDarkDialogStyle(QWidget* window);

}  // namespace zelvaro
