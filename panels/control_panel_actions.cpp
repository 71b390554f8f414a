// ControlPanelWindow: what each control does. Sliders act as they move;
// buttons and check boxes as they are clicked. Everything goes to the
// engine or the settings at once; the panel then shows what came of it.

#include "app/commands.h"
#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/control_panel_controls.h"
#include "panels/control_panel_values.h"
#include "panels/control_panel_window.h"
#include "panels/picture_controls.h"
#include "subtitles/subtitle_manager.h"
#include "subtitles/subtitle_style.h"

#include <QFontDialog>

namespace zelvaro::panels {
namespace {

constexpr int kBoldWeight = 700;
constexpr int kDefaultPointSize = 24;

struct PictureButton {
  int slider;
  int label;
  int reset;
  PictureKind kind;
};
constexpr std::array<PictureButton, 4> kPictureControls{{
    {9020, 9021, 9022, PictureKind::Brightness},
    {9023, 9024, 9025, PictureKind::Contrast},
    {9026, 9027, 9028, PictureKind::Saturation},
    {9029, 9030, 9031, PictureKind::Hue},
}};

const PictureButton* PictureBySlider(int id) {
  for (const PictureButton& row : kPictureControls) {
    if (row.slider == id) return &row;
  }
  return nullptr;
}

const PictureButton* PictureByReset(int id) {
  for (const PictureButton& row : kPictureControls) {
    if (row.reset == id) return &row;
  }
  return nullptr;
}

}  // namespace

void ControlPanelWindow::OnSliderChanged(int id, int position) {
  GraphManager* graph = Graph();
  if (const PictureButton* row = PictureBySlider(id)) {
    const int value = PictureValue(row->kind, position);
    if (graph) SetPictureControl(*graph, row->kind, value);
    SetText(row->label, PictureLabel(value));
    return;
  }
  switch (id) {
    case 9010:
      if (graph) {
        // A drag writes the setting once, when it lets go.
        if (Slider(id)->isSliderDown()) {
          graph->SetVolumeUnsaved(static_cast<float>(position) / 100.0f);
        } else {
          graph->SetVolume(static_cast<float>(position) / 100.0f);
        }
      }
      SetText(9011, VolumeLabel(position));
      break;
    case 9072:
      if (graph) {
        ApplyNormalize();
      } else {
        Settings::SetDword(setting::kAudioMaxNormFactor, static_cast<uint32_t>(position));
      }
      SetText(9073, FactorLabel(position));
      break;
    case 9074:
      if (graph) {
        graph->SetBoost(static_cast<float>(position) / 100.0f + 1.0f);
      } else {
        Settings::SetDword(setting::kAudioBoost, static_cast<uint32_t>(position));
      }
      SetText(9075,
              BoostLabel(position, LanguageManager::GetString(u"ControlPanel.AudioBoostNone")));
      break;
    default:
      break;
  }
}

void ControlPanelWindow::OnSliderReleased(int id) {
  GraphManager* graph = Graph();
  if (id == 9010 && graph) graph->SaveVolume();
}

void ControlPanelWindow::OnCommand(int id) {
  GraphManager* graph = Graph();
  if (const PictureButton* row = PictureByReset(id)) {
    if (graph) SetPictureControl(*graph, row->kind, 0);
    const QSignalBlocker blocker(Slider(row->slider));
    Slider(row->slider)->setValue(PictureSliderPosition(0));
    SetText(row->label, PictureLabel(0));
    return;
  }
  switch (id) {
    case 9032:
      if (mainWindow_) {
        // Posted: the capture runs after the click has finished.
        QMetaObject::invokeMethod(
            mainWindow_, [window = mainWindow_] { window->OnCommand(ID_SCREENSHOT); },
            Qt::QueuedConnection);
      }
      return;
    case 9040:
      ChooseFont();
      return;
    case 9043:
      ChangeMargin(+1);
      return;
    case 9044:
      ChangeMargin(-1);
      return;
    case 9047:
      ChangeDelay(-kSubtitleDelayStepMs, false);
      break;
    case 9048:
      ChangeDelay(kSubtitleDelayStepMs, false);
      break;
    case 9049:
      ChangeDelay(0, true);
      break;
    case 9060:
      if (graph) graph->SetSpeed(SpeedStepDown(graph->Speed()));
      break;
    case 9061:
      if (graph) graph->SetSpeed(SpeedStepUp(graph->Speed()));
      break;
    case 9062:
      if (graph) graph->SetSpeed(1.0);
      break;
    case 9065:
    case 9067:
      if (graph) {
        if (id == 9065) {
          graph->SetMarkA();
        } else {
          graph->SetMarkB();
        }
      }
      if (mainWindow_) mainWindow_->OnMarksChanged();
      break;
    case 9068:
      if (graph) graph->ClearMarks();
      if (mainWindow_) mainWindow_->OnMarksChanged();
      break;
    case 9069:
      if (mainWindow_) mainWindow_->OnCommand(ID_CUT_CLIP);
      return;
    case 9070:
    case 9071:
      if (graph) {
        ApplyNormalize();
      } else {
        Settings::SetDword(setting::kAudioNormalize, Check(9070)->isChecked() ? 1 : 0);
        Settings::SetDword(setting::kAudioNormalizeRecover, Check(9071)->isChecked() ? 1 : 0);
      }
      UpdateNormalizeEnabled();
      return;
    default:
      // 9045 and 9046 stand without a command.
      return;
  }
  Refresh();
}

void ControlPanelWindow::ApplyNormalize() {
  if (GraphManager* graph = Graph()) {
    graph->SetNormalize(Check(9070)->isChecked(), Check(9071)->isChecked(),
                        static_cast<float>(Slider(9072)->value()) / 100.0f);
  }
}

void ControlPanelWindow::UpdateNormalizeEnabled() {
  // Unchecking keeps the two values; they only wait.
  const bool on = Check(9070)->isChecked();
  Check(9071)->setEnabled(on);
  Slider(9072)->setEnabled(on);
}

void ControlPanelWindow::ChangeDelay(int64_t deltaMs, bool reset) {
  GraphManager* graph = Graph();
  if (graph == nullptr) return;
  if (reset) {
    graph->ResetSubtitleDelay();
  } else {
    graph->AdjustSubtitleDelay(deltaMs);
  }
}

void ControlPanelWindow::ChangeMargin(int direction) {
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  style.MarginBottom =
      direction > 0 ? MarginUp(style.MarginBottom) : MarginDown(style.MarginBottom);
  ApplySubtitleStyle(style);
}

void ControlPanelWindow::ChooseFont() {
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  QFont initial(style.FontName);
  initial.setPointSize(style.FontSize < 1 ? kDefaultPointSize : style.FontSize);
  initial.setWeight(style.Bold ? QFont::Bold : QFont::Normal);
  initial.setItalic(style.Italic);
  bool chosen = false;
  const QFont font = QFontDialog::getFont(&chosen, initial, this,
                                          LanguageManager::GetString(u"ControlPanel.LabelFont"));
  if (!chosen) return;
  ApplySubtitleFont(font.family(), font.pointSize(), font.weight() >= kBoldWeight, font.italic());
}

void ControlPanelWindow::ApplySubtitleFont(const QString& family, int pointSize, bool bold,
                                           bool italic) {
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  style.FontName = family;
  style.FontSize = pointSize;
  style.Bold = bold;
  style.Italic = italic;
  ApplySubtitleStyle(style);
}

void ControlPanelWindow::ApplySubtitleStyle(const SubtitleStyle& style) {
  SaveSubtitleStyle(style);
  RefreshSubtitle();
  GraphManager* graph = Graph();
  SubtitleManager* subtitles = graph ? graph->Subtitles() : nullptr;
  if (subtitles == nullptr) return;
  // Read again off the interface thread; the picture shows it once in place,
  // paused or not.
  subtitles->ReloadSubtitleAsync([graph](bool loaded) {
    if (loaded) graph->RedrawVideo();
  });
}

void ControlPanelWindow::RefreshSubtitle() {
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  SetText(9041, FontLabel(style.FontName, style.FontSize));
}

}  // namespace zelvaro::panels
