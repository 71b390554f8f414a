#pragma once
// What the main window's tests share: a private home with the player started
// in it (PlayerFixture), a folder holding a series of real clips, and
// answerers for the message boxes and dialogs the window runs modally.

#include "app/application.h"
#include "app/main_window.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QPointer>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace zelvaro::test {

// The clip every series is made of: 320x240, 25 fps, 5 s, a keyframe each second.
inline QString PatternClip() {
  return FixturePath(QStringLiteral("pattern_h264_aac.mp4"));
}

// Copies of the pattern clip under `home`/`folder`, one per name; a name
// listed in `broken` gets 64 KiB of noise instead, which no demuxer takes.
inline QStringList MakeSeries(const TempHome& home, const QString& folder, const QStringList& names,
                              const QStringList& broken = {}) {
  QStringList paths;
  QRandomGenerator noise(20261121);
  for (const QString& name : names) {
    const QString relative = folder + u'/' + name;
    if (broken.contains(name)) {
      QByteArray bytes(64 * 1024, '\0');
      for (char& byte : bytes) byte = static_cast<char>(noise.generate() & 0xFF);
      paths << home.WriteFile(relative, bytes);
    } else {
      const QString path = home.WriteFile(relative, QByteArray());
      QFile::remove(path);
      QFile::copy(PatternClip(), path);
      paths << path;
    }
  }
  return paths;
}

// Starts the player with no file and waits for its window. Unless a test
// points the lyrics service somewhere (a loopback server), no service is
// asked: tests never reach the network.
inline MainWindow* StartPlayer() {
  QString endpoint;
  if (!Settings::GetString(setting::kLyricsEndpoint, &endpoint))
    Settings::SetString(setting::kLyricsEndpoint, QString());
  if (!Application::Instance().Initialize(QString())) return nullptr;
  MainWindow* window = Application::Instance().mainWindow();
  if (!QTest::qWaitForWindowExposed(window)) return nullptr;
  return window;
}

// Makes the window the active one, which the key map asks of a key.
// Xvfb has no window manager to activate windows, so Qt is told directly.
inline bool ActivatePlayer(MainWindow* window) {
  QApplication::setActiveWindow(window);
  window->setFocus();
  return QTest::qWaitFor([window] { return QApplication::activeWindow() == window; }, 5000);
}

// Ends the player; the store closes with it, so the next test's home gets a
// database of its own.
inline void StopPlayer() {
  Application::Instance().Shutdown();
}

// A private home with the player started in it, one per test function:
// init() calls Start(), cleanup() calls Stop().
struct PlayerFixture {
  bool Start() {
    home = std::make_unique<TempHome>();
    window = StartPlayer();
    graph = window != nullptr ? window->graph() : nullptr;
    return window != nullptr;
  }
  void Stop() {
    StopPlayer();
    home.reset();
    window = nullptr;
    graph = nullptr;
  }

  std::unique_ptr<TempHome> home;
  MainWindow* window = nullptr;
  GraphManager* graph = nullptr;
};

inline QString OsdText() {
  OsdOverlay* overlay = CurrentOsdOverlay();
  return overlay != nullptr && overlay->isShowing() ? overlay->text() : QString();
}

// Answers the next modal message box with `button` and keeps its text.
class MessageBoxAnswerer : public QObject {
 public:
  explicit MessageBoxAnswerer(QMessageBox::StandardButton button) : button_(button) {
    timer_.setInterval(10);
    QObject::connect(&timer_, &QTimer::timeout, this, [this] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (box == nullptr) return;
      timer_.stop();
      text_ = box->text();
      title_ = box->windowTitle();
      ++answered_;
      if (QAbstractButton* answer = box->button(button_)) {
        answer->click();
      } else {
        box->reject();
      }
    });
    timer_.start();
  }

  int answered() const { return answered_; }
  const QString& text() const { return text_; }
  const QString& title() const { return title_; }

 private:
  QMessageBox::StandardButton button_;
  QTimer timer_;
  QString text_;
  QString title_;
  int answered_ = 0;
};

// Runs `handle` once on each new modal window (a dialog or a message box)
// as it comes up; the handler closes it one way or another.
class ModalHandler : public QObject {
 public:
  explicit ModalHandler(std::function<void(QWidget* modal)> handle) : handle_(std::move(handle)) {
    timer_.setInterval(10);
    QObject::connect(&timer_, &QTimer::timeout, this, [this] {
      QWidget* modal = QApplication::activeModalWidget();
      if (modal == nullptr || modal == last_ || !modal->isVisible()) return;
      last_ = modal;
      ++handled_;
      handle_(modal);
    });
    timer_.start();
  }

  int handled() const { return handled_; }

 private:
  std::function<void(QWidget*)> handle_;
  QTimer timer_;
  QPointer<QWidget> last_;
  int handled_ = 0;
};

}  // namespace zelvaro::test
