#pragma once
// WorkerMailbox: the one way a worker thread hands a result to the interface
// thread. Post queues a call on a receiver object that lives on the
// interface thread; the call owns whatever it captured (a move-only result),
// so the receiver owns the result once it runs, and a call that is never
// delivered destroys its result with it.
//
// The owner closes the mailbox on the interface thread before it destroys
// the receiver; from then on Post refuses, so a worker that outlives its
// window (a detached one, at exit) never reaches a dead object. Shared by
// the owner and its workers through a shared_ptr.

#include <QMetaObject>
#include <QObject>

#include <mutex>
#include <utility>

namespace zelvaro {

class WorkerMailbox {
 public:
  explicit WorkerMailbox(QObject* receiver) : receiver_(receiver) {}

  // Any thread. False when the mailbox is closed; `call` is then left as it
  // was, and its captures go with it.
  template <typename Call>
  bool Post(Call&& call) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (receiver_ == nullptr) return false;
    // Under the lock: Close cannot complete, nor the receiver go, meanwhile.
    QMetaObject::invokeMethod(receiver_, std::forward<Call>(call), Qt::QueuedConnection);
    return true;
  }

  // Interface thread, before the receiver is destroyed.
  void Close() {
    std::lock_guard<std::mutex> guard(mutex_);
    receiver_ = nullptr;
  }

 private:
  std::mutex mutex_;
  QObject* receiver_;
};

}  // namespace zelvaro
