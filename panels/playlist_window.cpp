// PlaylistWindow: creation, layout, painting, placement and the list side
// the model talks to.

#include "panels/playlist_window.h"

#include "app/dpi.h"
#include "app/favorite_run.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/playlist_model.h"
#include "panels/panel_list_view.h"
#include "panels/playlist_rows.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPainter>
#include <QScreen>

namespace zelvaro::panels {
namespace {

constexpr int kTitleFont = 12;
constexpr int kListFont = 13;
constexpr int kIconSize = 16;
constexpr int kBorderWidth = 3;
constexpr int kSearchMaxChars = 256;

const char* const kButtonIcons[6] = {"move_top.png",    "move_up.png", "move_down.png",
                                     "move_bottom.png", "add.png",     "delete.png"};
const char* const kFavButtonIcons[4] = {"move_up.png", "move_down.png", "add.png", "delete.png"};

QColor Tint(bool pressed, bool hovered) {
  if (pressed) return chrome::kTintPressed;
  return hovered ? chrome::kTintHovered : chrome::kTintNormal;
}

bool ReadInt(QStringView name, int* value) {
  uint32_t stored = 0;
  if (!Settings::GetDword(name, &stored)) return false;
  *value = static_cast<int32_t>(stored);
  return true;
}

QString ControlStyle(const QColor& background) {
  return QStringLiteral("background:%1; color:%2; border:none; padding-left:4px;")
      .arg(background.name(), chrome::kPanelText.name());
}

}  // namespace

PlaylistWindow::PlaylistWindow(PlaylistModel* model, FavoriteRun* run, PanelHost* host,
                               QWidget* owner)
    : QWidget(owner, Qt::Tool | Qt::FramelessWindowHint),
      model_(model),
      run_(run),
      host_(host),
      icons_(std::make_unique<chrome::IconSet>(
          QStringList{"move_top.png", "move_up.png", "move_down.png", "move_bottom.png", "add.png",
                      "delete.png", "sort.png", "close.png"})) {
  setObjectName(QStringLiteral("PlaylistWindow"));
  setWindowTitle(LanguageManager::GetString(u"Playlist.Title"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setAcceptDrops(true);
  setMinimumSize(Scaled(kPanelMinimumDesign), Scaled(kPanelMinimumDesign));
  resize(Scaled(kPanelDesignWidth), Scaled(kPanelDesignHeight));
  setFont(chrome::DesignFont(Scaled(kTitleFont)));
  BuildPlaylistTab();
  if (run_) run_->SetRowChangedCallback([this](int row) { OnFavoriteRowChanged(row); });
  LayoutChildren();
}

PlaylistWindow::~PlaylistWindow() {
  if (run_) run_->SetRowChangedCallback(nullptr);
  if (model_) model_->SetView(nullptr);
  if (everShown_) SavePlacement();
  // The lists' cell callbacks read this window's members; they must go while
  // those still exist, not later with the base class's children.
  delete playlistList_;
  delete favoritesList_;
  delete playlistModel_;
  delete favoritesModel_;
}

void PlaylistWindow::BuildPlaylistTab() {
  searchEdit_ = new QLineEdit(this);
  searchEdit_->setObjectName(QStringLiteral("SearchEdit"));
  searchEdit_->setMaxLength(kSearchMaxChars);
  searchEdit_->setFrame(false);
  searchEdit_->setStyleSheet(ControlStyle(chrome::kPanelSearchBackground));
  searchEdit_->setPlaceholderText(LanguageManager::GetString(u"Playlist.SearchCue"));
  connect(searchEdit_, &QLineEdit::textChanged, this, [this](const QString& text) {
    if (model_) model_->SetSearchText(text);
  });

  playlistModel_ = new PanelListModel(
      [this](int row, int column) -> QString {
        if (!model_) return {};
        const std::vector<int>& filtered = model_->Filtered();
        if (row < 0 || row >= static_cast<int>(filtered.size())) return {};
        const size_t index = static_cast<size_t>(filtered[static_cast<size_t>(row)]);
        if (index >= model_->Items().size()) return {};
        return PlaylistCellText(model_->Items()[index], column);
      },
      false, this);
  playlistList_ = new PanelListView(playlistModel_, this);
  playlistList_->setObjectName(QStringLiteral("PlaylistList"));
  playlistList_->setFont(chrome::DesignFont(Scaled(kListFont)));
  playlistList_->rowColors = [this](int row) {
    RowColors colours;
    if (!model_) return colours;
    const std::vector<int>& filtered = model_->Filtered();
    if (row >= 0 && row < static_cast<int>(filtered.size()) &&
        filtered[static_cast<size_t>(row)] == model_->CurrentIndex()) {
      colours.text = chrome::kPanelCurrentText;
      colours.background = chrome::kPanelCurrentBackground;
    }
    return colours;
  };
  playlistList_->onActivate = [this](int row) { PlayRow(row); };
  playlistList_->onDelete = [this] {
    if (model_) model_->RemoveSelected();
  };
  playlistList_->onEscape = [this] { HideByUser(); };
  playlistList_->canReorder = [this] { return model_ && model_->SearchText().isEmpty(); };
  playlistList_->onReorder = [this](std::vector<int> rows, int dropRow) {
    ReorderRows(std::move(rows), dropRow);
  };
  playlistList_->onFilesDropped = [this](const QStringList& paths) { AddDroppedFiles(paths); };
  connect(playlistList_, &QWidget::customContextMenuRequested, this,
          [this](QPoint point) { ShowContextMenu(playlistList_->viewport()->mapToGlobal(point)); });
  if (model_) {
    model_->SetView(this);
    SetRowCount(static_cast<int>(model_->Filtered().size()));
  }
}

void PlaylistWindow::LayoutChildren() {
  const PlaylistPanelLayout layout = Layout();
  const bool playlist = activeTab_ == 0;
  searchEdit_->setVisible(playlist);
  playlistList_->setVisible(playlist);
  if (groupCombo_) {
    groupCombo_->setVisible(!playlist);
    favoritesList_->setVisible(!playlist);
  }
  if (playlist) {
    searchEdit_->setGeometry(layout.search);
    playlistList_->setGeometry(layout.list);
  } else if (groupCombo_) {
    groupCombo_->setGeometry(layout.groupCombo);
    favoritesList_->setGeometry(layout.favoritesList);
  }
}

PlaylistPanelLayout PlaylistWindow::Layout() const {
  return PlaylistLayout(size(), activeTab_, DpiScale);
}

void PlaylistWindow::SetActiveTab(int tab) {
  if (tab == activeTab_ || tab < 0 || tab > 1) return;
  if (tab == 1) {
    RefreshGroups();
    RefreshFavorites();
  }
  activeTab_ = tab;
  hover_ = {};
  LayoutChildren();
  update();
}

void PlaylistWindow::resizeEvent(QResizeEvent*) {
  LayoutChildren();
}

void PlaylistWindow::moveEvent(QMoveEvent*) {
  // A move ends wherever the system leaves the window, and the main window
  // moves a docked panel along: either way the panel is docked while it
  // touches the main window's side.
  if (isVisible()) UpdateSnapState();
}

void PlaylistWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const PlaylistPanelLayout layout = Layout();
  painter.fillRect(rect(), chrome::kPanelBackground);
  painter.setPen(chrome::kPanelText);
  painter.drawText(layout.title, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   LanguageManager::GetString(u"Playlist.Title"));
  const QString tabKeys[2] = {LanguageManager::GetString(u"Playlist.TabMain"),
                              LanguageManager::GetString(u"Playlist.TabFavorites")};
  for (int tab = 0; tab < 2; ++tab) {
    const QRect& r = layout.tabs[static_cast<size_t>(tab)];
    const bool active = tab == activeTab_;
    const bool hovered = hover_ == PanelHit{PanelHit::kTab, tab};
    painter.fillRect(r, active    ? chrome::kPanelActiveTab
                        : hovered ? chrome::kPanelHover
                                  : chrome::kPanelListBackground);
    painter.setPen(chrome::kPanelTabFrame);
    painter.drawRect(r.adjusted(0, 0, -1, -1));
    painter.setPen(active ? chrome::kPanelTextActive : chrome::kPanelText);
    painter.drawText(r, Qt::AlignCenter, tabKeys[tab]);
  }
  auto iconRect = [](const QRect& r) {
    const int size = Scaled(kIconSize);
    return QRect(r.center().x() - size / 2 + 1, r.center().y() - size / 2 + 1, size, size);
  };
  icons_->Draw(painter, QStringLiteral("close.png"), iconRect(layout.close),
               Tint(pressed_.kind == PanelHit::kClose, hover_.kind == PanelHit::kClose));
  PaintButtons(painter, layout);
  const int border = Scaled(kBorderWidth);
  painter.setPen(Qt::NoPen);
  painter.setBrush(chrome::kPanelBorder);
  const QRect all = rect();
  painter.drawRect(0, 0, all.width(), border);
  painter.drawRect(0, all.height() - border, all.width(), border);
  painter.drawRect(0, 0, border, all.height());
  painter.drawRect(all.width() - border, 0, border, all.height());
}

void PlaylistWindow::PaintButtons(QPainter& painter, const PlaylistPanelLayout& layout) {
  const int size = Scaled(kIconSize);
  auto draw = [&](const QRect& r, const char* icon, PanelHit hit) {
    if (r.isEmpty()) return;
    const bool hovered = hover_ == hit;
    const bool pressed = pressed_ == hit;
    if (hovered || pressed) {
      painter.fillRect(r, pressed ? chrome::kPanelActiveTab : chrome::kPanelHover);
    }
    const QRect target(r.x() + (r.width() - size) / 2, r.y() + (r.height() - size) / 2, size, size);
    icons_->Draw(painter, QString::fromLatin1(icon), target, Tint(pressed, hovered));
  };
  painter.setPen(chrome::kPanelRowCount);
  if (activeTab_ == 0) {
    for (int i = 0; i < 6; ++i) {
      draw(layout.buttons[static_cast<size_t>(i)], kButtonIcons[i], {PanelHit::kButton, i});
    }
    const int rows = model_ ? static_cast<int>(model_->Filtered().size()) : 0;
    painter.setPen(chrome::kPanelRowCount);
    painter.drawText(layout.rowCount, Qt::AlignCenter, QString::number(rows));
  } else {
    for (int i = 0; i < 4; ++i) {
      draw(layout.favButtons[static_cast<size_t>(i)], kFavButtonIcons[i],
           {PanelHit::kFavButton, i});
    }
    draw(layout.addGroup, "add.png", {PanelHit::kAddGroup, 0});
    painter.setPen(chrome::kPanelRowCount);
    painter.drawText(layout.favRowCount, Qt::AlignCenter,
                     QString::number(favoritesModel_->rowCount()));
  }
}

QRect PlaylistWindow::OwnerRect() const {
  return parentWidget() ? parentWidget()->frameGeometry() : QRect();
}

void PlaylistWindow::SnapDefault() {
  const QRect owner = OwnerRect();
  QScreen* screen = parentWidget() ? parentWidget()->screen() : QGuiApplication::primaryScreen();
  const QRect work = screen ? screen->availableGeometry() : owner;
  const bool heightSync = Settings::GetDwordOr(setting::kPlaylistHeightSync, 1) != 0;
  int savedHeight = 0;
  ReadInt(setting::kPlaylistH, &savedHeight);
  const PanelPlacement placement =
      SnapDefaultPlacement(owner, work, heightSync, savedHeight, DpiScale);
  setGeometry(placement.rect);
  snapSide_ = placement.snapSide;
  snapped_ = placement.snapped;
}

void PlaylistWindow::Show(bool show) {
  if (!show) {
    if (isVisible()) SavePlacement();
    hide();
    return;
  }
  int x = 0, y = 0, w = 0, h = 0;
  const bool saved = ReadInt(setting::kPlaylistX, &x) && ReadInt(setting::kPlaylistY, &y) &&
                     ReadInt(setting::kPlaylistW, &w) && ReadInt(setting::kPlaylistH, &h) &&
                     w != 0 && h != 0;
  const QScreen* monitor = nullptr;
  if (saved) {
    for (const QScreen* screen : QGuiApplication::screens()) {
      if (screen->geometry().intersects(QRect(x, y, w, h))) {
        monitor = screen;
        break;
      }
    }
  }
  if (monitor) {
    setGeometry(RestoredPanelRect(QRect(x, y, w, h), monitor->availableGeometry(), DpiScale));
    int snapped = 0;
    ReadInt(setting::kPlaylistSnapped, &snapped);
    snapped_ = snapped != 0;
    snapSide_ = 0;
    ReadInt(setting::kPlaylistSnapSide, &snapSide_);
  } else {
    SnapDefault();
  }
  everShown_ = true;
  QWidget::show();
  raise();
  activateWindow();
}

void PlaylistWindow::SavePlacement() {
  const QRect r = geometry();
  Settings::SetDword(setting::kPlaylistX, static_cast<uint32_t>(r.x()));
  Settings::SetDword(setting::kPlaylistY, static_cast<uint32_t>(r.y()));
  Settings::SetDword(setting::kPlaylistW, static_cast<uint32_t>(r.width()));
  Settings::SetDword(setting::kPlaylistH, static_cast<uint32_t>(r.height()));
  Settings::SetDword(setting::kPlaylistSnapped, snapped_ ? 1 : 0);
  Settings::SetDword(setting::kPlaylistSnapSide, static_cast<uint32_t>(snapSide_));
}

void PlaylistWindow::UpdateSnapState() {
  snapSide_ = SnapSideOf(frameGeometry(), OwnerRect(), DpiScale);
  snapped_ = snapSide_ != 0;
}

void PlaylistWindow::UpdateLanguage() {
  setWindowTitle(LanguageManager::GetString(u"Playlist.Title"));
  searchEdit_->setPlaceholderText(LanguageManager::GetString(u"Playlist.SearchCue"));
  playlistModel_->RefreshHeadings();
  if (favoritesModel_) favoritesModel_->RefreshHeadings();
  update();
}

void PlaylistWindow::SetRowCount(int rows) {
  playlistModel_->SetRowCount(rows);
  update(Layout().rowCount);
}

void PlaylistWindow::Redraw(bool) {
  playlistList_->viewport()->update();
  update(Layout().rowCount);
}

void PlaylistWindow::EnsureRowVisible(int row) {
  if (row < 0 || row >= playlistModel_->rowCount()) return;
  playlistList_->scrollTo(playlistModel_->index(row, 0));
}

std::vector<int> PlaylistWindow::SelectedRows() const {
  return playlistList_->SelectedRowList();
}

void PlaylistWindow::ClearSelection() {
  playlistList_->clearSelection();
}

void PlaylistWindow::SelectRow(int row) {
  playlistList_->SelectSingleRow(row, false);
}

void PlaylistWindow::OnMetadataProgress(int, int) {
  playlistList_->viewport()->update();
}

}  // namespace zelvaro::panels
