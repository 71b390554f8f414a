// ControlPanelWindow: creation, placement, showing and hiding, the painted
// title strip and tabs, and reading everything back (Refresh).

#include "panels/control_panel_window.h"

#include "app/dpi.h"
#include "app/main_window.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/control_panel_controls.h"
#include "panels/control_panel_values.h"
#include "panels/picture_controls.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <cmath>

namespace zelvaro::panels {
namespace {

constexpr int kFontHeight = 12;  // pixels of the character, not the cell
constexpr int kCloseGlyph = 8;

QString TextOf(const ControlEntry& entry) {
  return entry.fixed ? entry.text.toString() : LanguageManager::GetString(entry.text);
}

struct PictureRow {
  int slider;
  int label;
  PictureKind kind;
};
constexpr std::array<PictureRow, 4> kPictureRows{{{9020, 9021, PictureKind::Brightness},
                                                  {9023, 9024, PictureKind::Contrast},
                                                  {9026, 9027, PictureKind::Saturation},
                                                  {9029, 9030, PictureKind::Hue}}};

// Sets a slider as the engine has it, without the change acting again.
void SetQuietly(QAbstractSlider* slider, int position) {
  if (slider == nullptr || slider->isSliderDown()) return;
  const QSignalBlocker blocker(slider);
  slider->setValue(position);
}

}  // namespace

ControlPanelWindow::ControlPanelWindow(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint) {
  setAttribute(Qt::WA_ShowWithoutActivating);
  setMouseTracking(true);
}

bool ControlPanelWindow::Create(MainWindow* mainWindow) {
  mainWindow_ = mainWindow;
  layout_ = ControlPanelGeometry(DpiScale);
  setFixedSize(layout_.size);
  setWindowTitle(LanguageManager::GetString(u"ControlPanel.Title"));
  setWindowIcon(chrome::ApplicationIcon());
  MakeFonts();
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, chrome::kPanelBackground);
  setPalette(palette);
  setAutoFillBackground(false);

  for (int tab = 0; tab < kControlPanelTabCount; ++tab) {
    auto* group = new QWidget(this);
    group->setGeometry(layout_.content);
    group->setAutoFillBackground(false);
    group->hide();
    groups_[static_cast<size_t>(tab)] = group;
  }
  for (const ControlEntry& entry : ControlPanelControls()) CreateControl(entry);
  // Start values, before any engine is read: full volume, neutral picture,
  // the audio group as stored.
  SetQuietly(Slider(9010), 100);
  for (const PictureRow& row : kPictureRows) SetQuietly(Slider(row.slider), kPictureSliderCentre);
  RefreshAudio();
  RefreshSubtitle();

  // Placement: the stored point kept reachable on its monitor, else beside
  // the owner's right edge.
  uint32_t storedX = 0, storedY = 0;
  const bool stored = Settings::GetDword(setting::kControlPanelX, &storedX) &&
                      Settings::GetDword(setting::kControlPanelY, &storedY);
  const QPoint storedPoint(static_cast<int32_t>(storedX), static_cast<int32_t>(storedY));
  const QRect parentFrame = parentWidget() ? parentWidget()->frameGeometry() : QRect();
  const QScreen* monitor =
      stored ? QGuiApplication::screenAt(QRect(storedPoint, layout_.size).center()) : nullptr;
  if (monitor == nullptr) monitor = QGuiApplication::primaryScreen();
  const QRect workArea = monitor ? monitor->availableGeometry() : QRect();
  move(ControlPanelPosition(stored ? &storedPoint : nullptr, layout_.size, parentFrame, workArea,
                            DpiScale));
  SelectTab(0);
  return controls_.size() + keyedLabels_.size() ==
         static_cast<qsizetype>(ControlPanelControls().size());
}

void ControlPanelWindow::CreateControl(const ControlEntry& entry) {
  QWidget* group = groups_[static_cast<size_t>(entry.tab)];
  QWidget* widget = nullptr;
  const QString text = TextOf(entry);
  switch (entry.kind) {
    case ControlKind::Label:
    case ControlKind::ValueLabel: {
      const Qt::Alignment alignment =
          entry.kind == ControlKind::Label || entry.id == 9041 ? Qt::AlignLeft : Qt::AlignCenter;
      QLabel* label = MakePanelLabel(text, alignment, group);
      if (entry.id == 0) keyedLabels_.append({label, entry.fixed ? QString() : entry.text.toString()});
      widget = label;
      break;
    }
    case ControlKind::Slider: {
      auto* slider = new PanelSlider(entry.minimum, entry.maximum, group);
      const int id = entry.id;
      connect(slider, &QSlider::valueChanged, this,
              [this, id](int position) { OnSliderChanged(id, position); });
      connect(slider, &QSlider::sliderReleased, this, [this, id] { OnSliderReleased(id); });
      widget = slider;
      break;
    }
    case ControlKind::Button: {
      auto* button = new PanelButton(text, group);
      const int id = entry.id;
      connect(button, &QPushButton::clicked, this, [this, id] { OnCommand(id); });
      widget = button;
      break;
    }
    case ControlKind::CheckBox: {
      auto* check = new PanelCheckBox(text, group);
      const int id = entry.id;
      connect(check, &QCheckBox::clicked, this, [this, id] { OnCommand(id); });
      widget = check;
      break;
    }
    case ControlKind::Edit:
      widget = MakePanelEdit(text, group);
      break;
  }
  widget->setFont(font_);
  widget->setGeometry(ControlRect(entry, DpiScale).translated(-layout_.content.topLeft()));
  if (entry.id != 0) {
    widget->setObjectName(QString::number(entry.id));
    controls_.insert(entry.id, widget);
  }
}

GraphManager* ControlPanelWindow::Graph() const {
  return mainWindow_ ? mainWindow_->graph() : nullptr;
}

PanelSlider* ControlPanelWindow::Slider(int id) const {
  return qobject_cast<PanelSlider*>(controls_.value(id));
}

PanelCheckBox* ControlPanelWindow::Check(int id) const {
  return qobject_cast<PanelCheckBox*>(controls_.value(id));
}

void ControlPanelWindow::SetText(int id, const QString& text) {
  QWidget* widget = controls_.value(id);
  if (auto* label = qobject_cast<QLabel*>(widget)) {
    if (label->text() != text) label->setText(text);
  } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
    if (edit->text() != text) edit->setText(text);
  }
}

void ControlPanelWindow::SelectTab(int tab) {
  if (tab < 0 || tab >= kControlPanelTabCount) tab = 0;
  currentTab_ = tab;
  for (QWidget* group : groups_) group->hide();
  groups_[static_cast<size_t>(tab)]->show();
  update();
}

void ControlPanelWindow::Show(bool on) {
  if (!on) {
    SavePosition();
    Settings::SetDword(setting::kControlPanelVisible, 0);
    hide();
    return;
  }
  if (!isVisible()) SelectTab(StoredTab(Settings::GetDwordOr(setting::kControlPanelTab, 0)));
  show();
  Refresh();
  Settings::SetDword(setting::kControlPanelVisible, 1);
}

void ControlPanelWindow::SavePosition() {
  Settings::SetDword(setting::kControlPanelX, static_cast<uint32_t>(x()));
  Settings::SetDword(setting::kControlPanelY, static_cast<uint32_t>(y()));
}

void ControlPanelWindow::CloseToHidden() {
  // The visible state stays as it was: only Show(false) and the main
  // window's own saving write it.
  SavePosition();
  hide();
}

void ControlPanelWindow::Refresh() {
  GraphManager* graph = Graph();
  if (graph == nullptr) return;
  const int volume = static_cast<int>(std::lround(graph->Volume() * 100.0f));
  SetQuietly(Slider(9010), volume);
  SetText(9011, VolumeLabel(Slider(9010)->value()));
  for (const PictureRow& row : kPictureRows) {
    const int value = PictureControlValue(*graph, row.kind);
    SetQuietly(Slider(row.slider), PictureSliderPosition(value));
    SetText(row.label, PictureLabel(value));
  }
  RefreshSubtitle();
  SetText(9050, DelayLabel(graph->GetSubtitleDelay()));
  SetText(9063, SpeedLabel(graph->Speed()));
  SetText(9064, MarkAText(graph->MarkA()));
  SetText(9066, MarkBText(graph->MarkA(), graph->MarkB()));
  RefreshAudio();
}

void ControlPanelWindow::RefreshAudio() {
  const bool normalize = Settings::GetDwordOr(setting::kAudioNormalize, 0) != 0;
  const bool recover = Settings::GetDwordOr(setting::kAudioNormalizeRecover, 1) != 0;
  const int maxNorm = static_cast<int>(Settings::GetDwordOr(setting::kAudioMaxNormFactor, 200));
  const int boost = static_cast<int>(Settings::GetDwordOr(setting::kAudioBoost, 0));
  Check(9070)->setChecked(normalize);
  Check(9071)->setChecked(recover);
  SetQuietly(Slider(9072), maxNorm);
  SetText(9073, FactorLabel(Slider(9072)->value()));
  SetQuietly(Slider(9074), boost);
  SetText(9075, BoostLabel(Slider(9074)->value(),
                           LanguageManager::GetString(u"ControlPanel.AudioBoostNone")));
  UpdateNormalizeEnabled();
}

void ControlPanelWindow::MakeFonts() {
  font_ = QFont(LanguageManager::GetString(u"App.FontName"));
  font_.setPixelSize(Scaled(kFontHeight));
  font_.setWeight(QFont::Normal);
  boldFont_ = font_;
  boldFont_.setWeight(QFont::Bold);
  setFont(font_);
  for (QWidget* control : std::as_const(controls_)) control->setFont(font_);
  for (const auto& [label, key] : std::as_const(keyedLabels_)) label->setFont(font_);
}

void ControlPanelWindow::RefreshTexts() {
  // A language brings its own face.
  MakeFonts();
  setWindowTitle(LanguageManager::GetString(u"ControlPanel.Title"));
  for (const auto& [label, key] : keyedLabels_) {
    if (!key.isEmpty()) label->setText(LanguageManager::GetString(key));
  }
  for (const ControlEntry& entry : ControlPanelControls()) {
    if (entry.fixed || entry.id == 0 || entry.kind == ControlKind::ValueLabel) continue;
    if (auto* button = qobject_cast<QAbstractButton*>(controls_.value(entry.id))) {
      button->setText(TextOf(entry));
    }
  }
  if (Slider(9074)->value() == 0) {
    SetText(9075, LanguageManager::GetString(u"ControlPanel.AudioBoostNone"));
  }
  update();
}

void ControlPanelWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), chrome::kPanelBackground);
  // Title strip: the title and the close glyph.
  painter.setFont(boldFont_);
  painter.setPen(chrome::kPanelText);
  painter.drawText(layout_.titleText, Qt::AlignLeft | Qt::AlignVCenter,
                   LanguageManager::GetString(u"ControlPanel.Title"));
  const QColor glyph = closePressed_ ? chrome::kPanelClosePressed
                       : closeHover_ ? chrome::kPanelTextSelected
                                     : chrome::kPanelText;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(glyph, std::max(1, Scaled(1)) * 1.5));
  const int half = Scaled(kCloseGlyph) / 2;
  const QPoint centre = layout_.closeButton.center();
  painter.drawLine(centre + QPoint(-half, -half), centre + QPoint(half, half));
  painter.drawLine(centre + QPoint(-half, half), centre + QPoint(half, -half));
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setPen(chrome::kControlPanelBorder);
  painter.drawLine(0, layout_.titleStrip.bottom(), width() - 1, layout_.titleStrip.bottom());
  // Tabs.
  for (int tab = 0; tab < kControlPanelTabCount; ++tab) {
    static constexpr std::array<QStringView, kControlPanelTabCount> kTabKeys{
        u"ControlPanel.TabPlayback", u"ControlPanel.TabVideo", u"ControlPanel.TabAudio",
        u"ControlPanel.TabSubtitle"};
    const QRect area = layout_.tabs[static_cast<size_t>(tab)];
    const bool current = tab == currentTab_;
    const bool hovered = tab == hoveredTab_ && !current;
    painter.fillRect(area, current   ? chrome::kPanelTabActive
                           : hovered ? chrome::kPanelTabHovered
                                     : chrome::kPanelTabOther);
    painter.setPen(chrome::kControlPanelBorder);
    painter.drawRect(area.adjusted(0, 0, -1, -1));
    painter.setFont(current ? boldFont_ : font_);
    painter.setPen(current || hovered ? chrome::kPanelTextSelected : chrome::kPanelText);
    painter.drawText(area, Qt::AlignCenter,
                     LanguageManager::GetString(kTabKeys[static_cast<size_t>(tab)]));
  }
  painter.setPen(chrome::kControlPanelBorder);
  painter.drawRect(layout_.content.adjusted(0, 0, -1, -1));
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void ControlPanelWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const ControlPanelHit hit =
      ControlPanelHitTest(layout_, event->position().toPoint(), currentTab_, DpiScale);
  switch (hit.kind) {
    case ControlPanelHitKind::Close:
      closePressed_ = true;
      update(layout_.closeButton);
      break;
    case ControlPanelHitKind::Tab:
      // Tabs act on press.
      if (hit.tab != currentTab_) {
        SelectTab(hit.tab);
        Settings::SetDword(setting::kControlPanelTab, static_cast<uint32_t>(hit.tab));
      }
      break;
    case ControlPanelHitKind::Control:
      break;
    case ControlPanelHitKind::Drag:
      if (windowHandle()) windowHandle()->startSystemMove();
      break;
  }
  event->accept();
}

void ControlPanelWindow::mouseMoveEvent(QMouseEvent* event) {
  const ControlPanelHit hit =
      ControlPanelHitTest(layout_, event->position().toPoint(), currentTab_, DpiScale);
  const int hovered = hit.kind == ControlPanelHitKind::Tab ? hit.tab : -1;
  const bool closeHover = hit.kind == ControlPanelHitKind::Close;
  if (hovered != hoveredTab_ || closeHover != closeHover_) {
    hoveredTab_ = hovered;
    closeHover_ = closeHover;
    update();
  }
}

void ControlPanelWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !closePressed_) return;
  closePressed_ = false;
  update(layout_.closeButton);
  // Buttons act on release over the same button.
  if (layout_.closeButton.contains(event->position().toPoint())) CloseToHidden();
}

void ControlPanelWindow::leaveEvent(QEvent*) {
  if (hoveredTab_ == -1 && !closeHover_) return;
  hoveredTab_ = -1;
  closeHover_ = false;
  update();
}

void ControlPanelWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    CloseToHidden();
    return;
  }
  QWidget::keyPressEvent(event);
}

void ControlPanelWindow::closeEvent(QCloseEvent* event) {
  CloseToHidden();
  event->ignore();
}

}  // namespace zelvaro::panels
