#pragma once
// The control panel's painted child controls: a slider with its track,
// filled part, ticks and thumb; a flat button; a check box; a value label
// and a read-only edit in the panel's colours. Each keeps Qt's behaviour
// (keys, focus, signals) and only paints differently. Interface thread only;
// the panel owns them as Qt children.

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>

namespace zelvaro::panels {

class PanelSlider : public QSlider {
  Q_OBJECT
 public:
  PanelSlider(int minimum, int maximum, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  // The thumb's rectangle at `value`, and the value under an x.
  QRect ThumbRect(int value) const;
  int ValueAt(int x) const;
};

class PanelButton : public QPushButton {
  Q_OBJECT
 public:
  PanelButton(const QString& text, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  bool hovered_ = false;
};

class PanelCheckBox : public QCheckBox {
  Q_OBJECT
 public:
  PanelCheckBox(const QString& text, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& pos) const override;
};

// Labels and read-only edits in the panel's text colour on its background.
QLabel* MakePanelLabel(const QString& text, Qt::Alignment alignment, QWidget* parent);
QLineEdit* MakePanelEdit(const QString& text, QWidget* parent);

}  // namespace zelvaro::panels
