#pragma once
// What the bar tests share: a host that records what a bar asks of the main
// window, a frameless main window with the title bar across its top, and the
// English language file the tooltips and fonts come from.

#include "app/messages.h"
#include "chrome/chrome_host.h"
#include "chrome/title_bar_window.h"
#include "foundation/language_manager.h"
#include "tests/support/test_paths.h"

#include <QWidget>

#include <memory>
#include <vector>

namespace zelvaro::test {

class RecordingHost : public chrome::ChromeHost {
 public:
  struct Sent {
    int message;
    qintptr wParam;
    qintptr lParam;
  };

  qintptr SendPlayerMessage(int message, qintptr wParam, qintptr lParam) override {
    if (message == WM_PLAYER_QUERY_SEEKABLE) {
      ++seekableQueries;
      return seekable;
    }
    sent.push_back({message, wParam, lParam});
    return 0;
  }
  void SendCommand(int id) override { commands.push_back(id); }
  void ShowContextMenuAt(QPoint globalPos) override { contextMenus.push_back(globalPos); }
  void ToggleFullscreen() override { ++fullscreenToggles; }

  // The first parameters of every `message` sent, in order.
  std::vector<qintptr> Params(int message) const {
    std::vector<qintptr> params;
    for (const Sent& s : sent) {
      if (s.message == message) params.push_back(s.wParam);
    }
    return params;
  }

  qintptr seekable = 1;
  int seekableQueries = 0;
  std::vector<Sent> sent;
  std::vector<int> commands;
  std::vector<QPoint> contextMenus;
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

inline void LoadEnglish() {
  LanguageManager::Instance().Initialize(BinDir(), QLocale::English);
}

}  // namespace zelvaro::test
