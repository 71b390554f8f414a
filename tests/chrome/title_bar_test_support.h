#pragma once
// What the title bar tests share: a host that records what the bar asks of
// the main window, and a frameless main window with the bar across its top.

#include "chrome/chrome_host.h"
#include "chrome/title_bar_window.h"
#include "foundation/language_manager.h"
#include "tests/support/test_paths.h"

#include <QList>
#include <QWidget>

#include <memory>

namespace zelvaro::test {

class RecordingHost : public chrome::ChromeHost {
 public:
  qintptr SendPlayerMessage(int message, qintptr, qintptr) override {
    messages.append(message);
    return 0;
  }
  void SendCommand(int id) override { commands.append(id); }
  void ShowContextMenuAt(QPoint globalPos) override { menus.append(globalPos); }
  void ToggleFullscreen() override { ++fullscreenToggles; }

  QList<int> messages;
  QList<int> commands;
  QList<QPoint> menus;
  int fullscreenToggles = 0;
};

struct TitleBarFixture {
  explicit TitleBarFixture(int width) : main(new QWidget(nullptr, Qt::FramelessWindowHint)) {
    main->resize(width, 300);
    bar = new chrome::TitleBarWindow(&host, main.get());
    bar->setGeometry(0, 0, width, bar->height());
  }
  RecordingHost host;
  std::unique_ptr<QWidget> main;
  chrome::TitleBarWindow* bar = nullptr;
};

// The language the bar's tooltips and font come from, from the build's copy.
inline void LoadEnglish() {
  LanguageManager::Instance().Initialize(BinDir(), QLocale::English);
}

}  // namespace zelvaro::test
