#pragma once
// ControlPanelWindow: the small dark tool window, owned by the main window,
// from which the user changes speed, A-B marks, the picture, audio
// processing and the subtitle style while the video plays. It keeps no
// state of its own beyond its widgets: every control acts at once on the
// main window's GraphManager or on the settings, and Refresh reads all of it
// back, so a change made by a key or a menu shows here too.
//
// It paints its own title strip and tabs (control_panel_layout.h says where
// everything is); the controls are painted Qt widgets (control_panel_controls.h).
// It reaches the main window only by its commands (MainWindow::OnCommand)
// and by the marks refresh; it never calls another panel.
//
// Interface thread only. The main window owns it as a Qt child (a Qt::Tool
// window) and deletes it with itself.

#include "panels/control_panel_layout.h"

#include <QHash>
#include <QWidget>

#include <array>

class QLabel;
class QLineEdit;

namespace zelvaro {

class GraphManager;
class MainWindow;
struct SubtitleStyle;

namespace panels {

class PanelCheckBox;
class PanelSlider;

class ControlPanelWindow : public QWidget {
  Q_OBJECT
 public:
  explicit ControlPanelWindow(QWidget* parent);

  // Builds every control, hidden, and places the window (ControlPanelX,
  // ControlPanelY, kept reachable). True when the window and all its
  // controls exist.
  bool Create(MainWindow* mainWindow);
  // On: selects the stored tab, shows without taking the focus, reads
  // everything back and stores the visible state. Off: stores the position
  // and the hidden state and hides.
  void Show(bool on);
  bool IsVisible() const { return isVisible(); }
  // Reads every control back from the engine and the settings; nothing
  // without an engine. A slider the user holds is left where it is.
  void Refresh();
  void RefreshTexts();

  // The tab shown, 0 to 3, and the one selected by a click or a stored value.
  int CurrentTab() const { return currentTab_; }
  void SelectTab(int tab);
  // The control with a design id (9010 ...), null for none; the font display
  // is 9041.
  QWidget* Control(int id) const { return controls_.value(id); }
  const ControlPanelLayout& Layout() const { return layout_; }

  // What the font dialog's OK does with the chosen font: the whole style
  // written to the settings and, when subtitles are loaded, reloaded with it.
  void ApplySubtitleFont(const QString& family, int pointSize, bool bold, bool italic);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  GraphManager* Graph() const;
  void MakeFonts();
  void CreateControl(const ControlEntry& entry);
  void SavePosition();
  // Saves the position and hides: the close button, closing and Escape.
  void CloseToHidden();
  void SetText(int id, const QString& text);
  PanelSlider* Slider(int id) const;
  PanelCheckBox* Check(int id) const;

  // control_panel_actions.cpp: what each control does.
  void OnSliderChanged(int id, int position);
  void OnSliderReleased(int id);
  void OnCommand(int id);
  void ApplyNormalize();
  void UpdateNormalizeEnabled();
  void ChangeMargin(int delta);
  void ChangeDelay(int64_t deltaMs, bool reset);
  void ChooseFont();
  // Writes the style and lets the loaded subtitles take it.
  void ApplySubtitleStyle(const SubtitleStyle& style);
  void RefreshAudio();
  void RefreshSubtitle();

  MainWindow* mainWindow_ = nullptr;
  ControlPanelLayout layout_;
  QFont font_;
  QFont boldFont_;
  int currentTab_ = 0;
  int hoveredTab_ = -1;
  bool closeHover_ = false;
  bool closePressed_ = false;
  std::array<QWidget*, kControlPanelTabCount> groups_{};
  QHash<int, QWidget*> controls_;
  // The plain labels (id 0) with their keys, for RefreshTexts.
  QList<QPair<QLabel*, QString>> keyedLabels_;
};

}  // namespace panels
}  // namespace zelvaro
