// MainWindow's popup menus: built afresh from the engine and the stores at
// every opening (the rows come from menu_models.h), run modally, and the
// choice handed to OnCommand. Also the choice of a subtitle track.

#include "app/commands.h"
#include "app/main_window.h"
#include "app/menu_models.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/favorites_database.h"
#include "subtitles/subtitle_manager.h"

#include <QAction>
#include <QMenu>
#include <QMouseEvent>

namespace zelvaro {
namespace {

constexpr int kTrackOsdMs = 1500;

void AddRows(QMenu* menu, const MenuModel& rows) {
  for (const MenuItem& row : rows) {
    if (row.separator) {
      menu->addSeparator();
      continue;
    }
    if (row.isSubmenu) {
      QMenu* submenu = menu->addMenu(row.text);
      AddRows(submenu, row.submenu);
      continue;
    }
    QAction* action = menu->addAction(row.text);
    action->setData(row.id);
    action->setEnabled(row.enabled);
    if (row.checked) {
      action->setCheckable(true);
      action->setChecked(true);
    }
  }
}

// Runs `menu` at `global` (its bottom there when `above`) and returns the id
// chosen, 0 for none.
int RunMenu(QMenu& menu, QPoint global, bool above) {
  if (above) global.ry() -= menu.sizeHint().height();
  QAction* chosen = menu.exec(global);
  return chosen ? chosen->data().toInt() : 0;
}

}  // namespace

SubtitleMenuState MainWindow::SubtitleState() const {
  SubtitleMenuState state;
  state.embeddedIndex = embeddedSubtitleIndex_;
  if (!graph_) return state;
  const int embedded = graph_->GetSubtitleTrackCount();
  for (int i = 0; i < embedded; ++i) state.embeddedNames.push_back(graph_->GetSubtitleTrackName(i));
  if (const SubtitleManager* subtitles = graph_->Subtitles()) {
    for (const SubtitleTrackInfo& track : subtitles->GetTracks())
      state.external.push_back({track.Name, track.Language});
    state.currentExternal = subtitles->GetCurrentTrack();
    state.enabled = subtitles->IsEnabled();
  }
  return state;
}

MenuModel MainWindow::ContextModel() const {
  ContextMenuState state;
  state.recent = recentFiles_.Entries();
  state.subtitles = SubtitleState();
  if (graph_) {
    state.speed = graph_->Speed();
    state.frameRate = graph_->FrameRate();
    state.markA = graph_->MarkA();
    state.markB = graph_->MarkB();
    const int tracks = graph_->GetAudioTrackCount();
    for (int i = 0; i < tracks; ++i) state.audioTracks.push_back(graph_->GetAudioTrackName(i));
    state.currentAudioTrack = graph_->GetCurrentAudioTrack();
  }
  return ContextMenuModel(state, FavoritesDatabase::Instance().Groups());
}

void MainWindow::ShowContextMenu(QPoint global) {
  QMenu menu(this);
  AddRows(&menu, ContextModel());
  if (const int id = RunMenu(menu, global, false)) OnCommand(id);
}

std::unique_ptr<QMenu> MainWindow::BuildSubtitleMenu() {
  auto menu = std::make_unique<QMenu>(this);
  AddRows(menu.get(), SubtitleMenuModel(SubtitleState()));
  return menu;
}

void MainWindow::ShowSubtitleMenu(QPoint global) {
  const std::unique_ptr<QMenu> menu = BuildSubtitleMenu();
  if (const int id = RunMenu(*menu, global, true)) OnCommand(id);
}

void MainWindow::ShowAudioTrackMenu(QPoint global) {
  std::vector<QString> names;
  int current = -1;
  if (graph_) {
    const int tracks = graph_->GetAudioTrackCount();
    for (int i = 0; i < tracks; ++i) names.push_back(graph_->GetAudioTrackName(i));
    current = graph_->GetCurrentAudioTrack();
  }
  QMenu menu(this);
  AddRows(&menu, AudioTrackMenuModel(names, current));
  if (const int id = RunMenu(menu, global, true)) OnCommand(id);
}

void MainWindow::FillRecentMenu(QMenu* menu) {
  menu->clear();
  AddRows(menu, RecentMenuModel(recentFiles_.Entries()));
}

void MainWindow::FillFavoritesMenu(QMenu* menu) {
  menu->clear();
  AddRows(menu, FavoritesMenuModel(FavoritesDatabase::Instance().Groups()));
}

void MainWindow::SelectSubtitleTrack(int index) {
  if (!graph_) return;
  const int embedded = graph_->GetSubtitleTrackCount();
  if (index < embedded) {
    SelectEmbeddedSubtitle(index);
    return;
  }
  graph_->CancelEmbeddedExtraction();
  SubtitleManager* subtitles = graph_->Subtitles();
  if (subtitles == nullptr) return;
  const int external = index - embedded;
  const std::vector<SubtitleTrackInfo> tracks = subtitles->GetTracks();
  const bool valid = external < static_cast<int>(tracks.size());
  if (valid && external != subtitles->GetCurrentTrack() &&
      !tracks[static_cast<size_t>(external)].Path.isEmpty()) {
    // Read off this thread; the track shows when it lands.
    subtitles->LoadSubtitleAsync(tracks[static_cast<size_t>(external)].Path, [](bool) {});
  }
  subtitles->InvalidateQueue();
  subtitles->SetEnabled(true);
  Settings::SetDword(setting::kSubtitleEnabled, 1);
  SetToolbarSubtitles(true, true);
  graph_->RedrawVideo();
  if (valid) {
    ShowOsd(FormatKey(u"OSD.SubtitleTrackFormat", tracks[static_cast<size_t>(external)].Name),
            kTrackOsdMs);
  }
}

void MainWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::RightButton) ShowContextMenu(event->globalPosition().toPoint());
}

}  // namespace zelvaro
