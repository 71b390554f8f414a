#pragma once
// The playlist metadata worker: reads the size and last-write time
// of each path of a list on a thread of its own, and hands the results to the
// interface thread in batches (every kBatchSize paths and after the last).
//
// No shared writes: the worker owns a copy of the
// paths and writes only its own results; each batch travels as a value in a
// queued call to `receiver`, a QObject living on the interface thread, and
// the owner applies it there. Stop() never blocks for long: it cuts off all
// further deliveries at once, waits up to a short limit for the thread and
// lets a thread stuck in the file system (a hung network mount) finish on
// its own, detached; such a thread touches nothing but its own state.
//
// Create, Stop and destroy on the receiver's thread.

#include <QObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace zelvaro {

struct MetadataResult {
  int index = 0;  // position of the path in the list given to the worker
  QString path;
  bool found = false;  // false: the path could not be read; nothing to write
  uint64_t fileSize = 0;
  uint64_t fileDate = 0;  // FILETIME ticks
};

class MetadataWorker {
 public:
  static constexpr int kBatchSize = 50;
  static constexpr std::chrono::milliseconds kStopWait{200};

  // Called on the receiver's thread. `done` counts the paths looked at so
  // far, of `total`.
  using Deliver = std::function<void(std::vector<MetadataResult> batch, int done, int total)>;

  // Starts the thread at once.
  MetadataWorker(QObject* receiver, std::vector<QString> paths, Deliver deliver);
  ~MetadataWorker();
  MetadataWorker(const MetadataWorker&) = delete;
  MetadataWorker& operator=(const MetadataWorker&) = delete;

  // Sets the cancel flag; no delivery is posted after this returns. Joins
  // the thread when it ends within kStopWait, else detaches it.
  void Stop();
  // Set from the start until the thread has looked at its last path (or
  // seen the cancel flag), and cleared by Stop.
  bool Running() const;

 private:
  struct State;
  static void Run(std::shared_ptr<State> state);

  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace zelvaro
