// MainWindow's side of the desktop services (desktop_services.h).

#include "app/desktop_services.h"
#include "app/main_window.h"
#include "app/window_globals.h"
#include "engine/graph_manager.h"

namespace zelvaro {

DesktopServices::DesktopServices(MainWindow& window)
    : window_(window),
      mpris_(window),
      mediaHotKeys_(&window, [&window](int id) { window.OnCommand(id); }) {
  mediaHotKeys_.SetEnabled(GlobalMediaKeys);
}

void DesktopServices::Sync() {
  mpris_.Refresh();
  const GraphManager* graph = window_.graph();
  // Music lets the screen rest; only a playing picture keeps it awake.
  inhibitor_.SetWanted(graph != nullptr && graph->State() == 2 && graph->HasVideo() &&
                       !graph->CurrentPath().isEmpty());
  // The options pages change the setting; the keys follow at the next sync.
  mediaHotKeys_.SetEnabled(GlobalMediaKeys);
}

void MainWindow::CreateDesktopServices() {
  desktop_ = std::make_unique<DesktopServices>(*this);
}

void MainWindow::SyncDesktop() {
  if (desktop_) desktop_->Sync();
}

}  // namespace zelvaro
