// MainWindow: the control panel's life beside the window: made hidden at
// start and shown as the settings say, toggled by F10, the menu and the
// toolbar, saved on close, put away for fullscreen.

#include "app/main_window.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/control_panel_window.h"

namespace zelvaro {

void MainWindow::CreateControlPanel() {
  auto* panel = new panels::ControlPanelWindow(this);
  if (!panel->Create(this)) {
    delete panel;
    return;
  }
  controlPanel_ = panel;
  // Fullscreen stores the place and the hidden state, as Show(false) would.
  PanelSettingNames names;
  names.x = setting::kControlPanelX;
  names.y = setting::kControlPanelY;
  names.visible = setting::kControlPanelVisible;
  AddDockedPanel(panel, false, names);
  if (Settings::GetDwordOr(setting::kControlPanelVisible, 0) != 0) controlPanel_->Show(true);
}

void MainWindow::ToggleControlPanel() {
  if (controlPanel_) controlPanel_->Show(!controlPanel_->IsVisible());
}

void MainWindow::SaveControlPanel() {
  if (!controlPanel_) return;
  const bool visible = controlPanel_->IsVisible();
  Settings::SetDword(setting::kControlPanelVisible, visible ? 1 : 0);
  if (visible) {
    Settings::SetDword(setting::kControlPanelX, static_cast<uint32_t>(controlPanel_->x()));
    Settings::SetDword(setting::kControlPanelY, static_cast<uint32_t>(controlPanel_->y()));
  }
}

void MainWindow::RestoreControlPanelAfterFullscreen() {
  // Shown again by its dock; the values and the visible state are its own.
  if (controlPanel_ && controlPanel_->IsVisible()) controlPanel_->Show(true);
}

void MainWindow::RefreshControlPanelTexts() {
  if (controlPanel_) controlPanel_->RefreshTexts();
}

void MainWindow::RefreshControlPanel() {
  if (controlPanel_ && controlPanel_->IsVisible()) controlPanel_->Refresh();
}

}  // namespace zelvaro
