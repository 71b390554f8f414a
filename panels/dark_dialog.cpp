#include "panels/dark_dialog.h"

#include "chrome/chrome_palette.h"

#include <QPalette>
#include <QWidget>

namespace zelvaro {

void ApplyDarkDialogStyle(QWidget* window) {
  using namespace chrome;
  QPalette palette = window->palette();
  palette.setColor(QPalette::Window, kDialogBackground);
  palette.setColor(QPalette::WindowText, kDialogText);
  palette.setColor(QPalette::Base, kDialogBase);
  palette.setColor(QPalette::AlternateBase, kDialogBackground);
  palette.setColor(QPalette::Text, kDialogText);
  palette.setColor(QPalette::Button, kDialogButton);
  palette.setColor(QPalette::ButtonText, kDialogText);
  palette.setColor(QPalette::Highlight, kDialogHighlight);
  palette.setColor(QPalette::HighlightedText, kDialogHighlightedText);
  palette.setColor(QPalette::PlaceholderText, kDialogTextDisabled);
  for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, kDialogTextDisabled);
  }
  window->setPalette(palette);
  window->setAutoFillBackground(true);
}

}  // namespace zelvaro
