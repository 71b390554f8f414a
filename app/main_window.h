#pragma once
// MainWindow: the player's top-level window. Owns every panel and the engine
// as they are added; for now it is the dark, empty frame the player opens in.

#include <QWidget>

namespace zelvaro {

class MainWindow : public QWidget {
  Q_OBJECT
 public:
  explicit MainWindow(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace zelvaro
