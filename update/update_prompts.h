#pragma once
// The update check's message boxes, shown on the interface thread for the
// main window.
//
// Threads: Create on the interface thread; Show is called on the update
// thread and posts the box to the interface thread with a queued call, so
// the check never touches a widget. A question keeps the update thread
// waiting for the answer; a box whose owner goes away (the player closes)
// answers no, and after the owner is destroyed nothing more is shown.
// The check holds this object by shared pointer; the boxes are children of
// the owner while it lives.

#include "update/update_check.h"

#include <QPointer>
#include <QWidget>

#include <atomic>
#include <future>
#include <memory>

namespace zelvaro {

class MessageBoxUpdateUi : public UpdateUi,
                           public std::enable_shared_from_this<MessageBoxUpdateUi> {
 public:
  static std::shared_ptr<MessageBoxUpdateUi> Create(QWidget* owner);

  bool Show(const Message& message) override;

 private:
  explicit MessageBoxUpdateUi(QWidget* owner);
  // Interface thread.
  void Present(const Message& message, std::shared_ptr<std::promise<bool>> answer);

  QPointer<QWidget> owner_;  // read on the interface thread only
  std::atomic<bool> detached_{false};
};

}  // namespace zelvaro
