#include "update/update_prompts.h"

#include "foundation/language_manager.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace zelvaro {
namespace {

// The answer of one box; a box that goes away unanswered (its owner closed)
// answers no, so the waiting update thread always wakes.
class PendingAnswer : public QObject {
 public:
  PendingAnswer(std::shared_ptr<std::promise<bool>> answer, QObject* box)
      : QObject(box), answer_(std::move(answer)) {}
  ~PendingAnswer() override { Give(false); }
  void Give(bool yes) {
    if (given_) return;
    given_ = true;
    answer_->set_value(yes);
  }

 private:
  std::shared_ptr<std::promise<bool>> answer_;
  bool given_ = false;
};

}  // namespace

std::shared_ptr<MessageBoxUpdateUi> MessageBoxUpdateUi::Create(QWidget* owner) {
  std::shared_ptr<MessageBoxUpdateUi> ui(new MessageBoxUpdateUi(owner));
  if (owner != nullptr) {
    // Once the window is gone the program is closing: no box comes up after it.
    std::weak_ptr<MessageBoxUpdateUi> weak = ui;
    QObject::connect(owner, &QObject::destroyed, [weak] {
      if (auto self = weak.lock()) self->detached_ = true;
    });
  }
  return ui;
}

MessageBoxUpdateUi::MessageBoxUpdateUi(QWidget* owner) : owner_(owner) {}

bool MessageBoxUpdateUi::Show(const Message& message) {
  if (detached_) return false;
  auto answer = std::make_shared<std::promise<bool>>();
  std::future<bool> future = answer->get_future();
  QCoreApplication* application = QCoreApplication::instance();
  if (application == nullptr) return false;
  QMetaObject::invokeMethod(
      application, [self = shared_from_this(), message, answer] { self->Present(message, answer); },
      Qt::QueuedConnection);
  if (message.kind != Kind::Question) return false;
  // A question never presented (the program ended first) drops its promise,
  // which reads as no.
  try {
    return future.get();
  } catch (const std::future_error&) {
    return false;
  }
}

void MessageBoxUpdateUi::Present(const Message& message,
                                 std::shared_ptr<std::promise<bool>> answer) {
  if (detached_ || !owner_) {
    answer->set_value(false);
    return;
  }
  const QString text =
      message.text.isEmpty() ? LanguageManager::GetString(message.textKey) : message.text;
  const QString caption = LanguageManager::GetString(message.captionKey);
  QMessageBox::Icon icon = QMessageBox::Information;
  QMessageBox::StandardButtons buttons = QMessageBox::Ok;
  if (message.kind == Kind::Question) {
    icon = QMessageBox::Question;
    buttons = QMessageBox::Yes | QMessageBox::No;
  } else if (message.kind == Kind::Error) {
    icon = QMessageBox::Critical;
  }
  auto* box = new QMessageBox(icon, caption, text, buttons, owner_.data());
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setObjectName(QStringLiteral("UpdateMessage"));
  auto* pending = new PendingAnswer(std::move(answer), box);
  QObject::connect(box, &QMessageBox::finished, pending, [box, pending](int) {
    pending->Give(box->clickedButton() == box->button(QMessageBox::Yes));
  });
  // Window-modal and not exec(): the interface keeps running while it waits.
  box->open();
}

}  // namespace zelvaro
