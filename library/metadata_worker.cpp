#include "library/metadata_worker.h"

#include "library/file_time.h"

#include <condition_variable>
#include <mutex>

namespace zelvaro {

struct MetadataWorker::State {
  std::vector<QString> paths;
  Deliver deliver;
  std::atomic<bool> cancel{false};
  std::atomic<bool> running{true};

  std::mutex mutex;  // guards receiver and finished
  std::condition_variable finishedChanged;
  QObject* receiver = nullptr;  // null once Stop has begun
  bool finished = false;

  void Post(std::vector<MetadataResult> batch, int done, int total) {
    std::lock_guard lock(mutex);
    if (receiver == nullptr) return;
    // The receiver stays alive while the lock is held: Stop clears it under
    // the same lock before the owner can destroy it.
    QMetaObject::invokeMethod(
        receiver,
        [deliver = deliver, batch = std::move(batch), done, total]() mutable {
          deliver(std::move(batch), done, total);
        },
        Qt::QueuedConnection);
  }
};

MetadataWorker::MetadataWorker(QObject* receiver, std::vector<QString> paths, Deliver deliver)
    : state_(std::make_shared<State>()) {
  state_->paths = std::move(paths);
  state_->deliver = std::move(deliver);
  state_->receiver = receiver;
  thread_ = std::thread(&MetadataWorker::Run, state_);
}

MetadataWorker::~MetadataWorker() {
  Stop();
}

void MetadataWorker::Run(std::shared_ptr<State> state) {
  const int total = static_cast<int>(state->paths.size());
  std::vector<MetadataResult> batch;
  int done = 0;
  for (int i = 0; i < total; ++i) {
    if (state->cancel.load()) break;
    MetadataResult result;
    result.index = i;
    result.path = state->paths[static_cast<size_t>(i)];
    FileAttributes attributes;
    result.found = ReadFileAttributes(result.path, &attributes);
    result.fileSize = attributes.size;
    result.fileDate = attributes.lastWrite;
    batch.push_back(std::move(result));
    ++done;
    if (done % kBatchSize == 0 || i == total - 1) {
      state->Post(std::move(batch), done, total);
      batch = {};
    }
  }
  state->running.store(false);
  std::lock_guard lock(state->mutex);
  state->finished = true;
  state->finishedChanged.notify_all();
}

void MetadataWorker::Stop() {
  state_->cancel.store(true);
  std::unique_lock lock(state_->mutex);
  state_->receiver = nullptr;
  if (thread_.joinable()) {
    const bool finished =
        state_->finishedChanged.wait_for(lock, kStopWait, [this] { return state_->finished; });
    lock.unlock();
    if (finished) {
      thread_.join();
    } else {
      thread_.detach();
    }
  }
  state_->running.store(false);
}

bool MetadataWorker::Running() const {
  return state_->running.load();
}

}  // namespace zelvaro
