// GraphManager: opening a network address without holding the interface
// thread. The graph is built on a detached thread of its own; the result
// comes back as a queued call on the event relay. A cancelled build ends
// within one poll of its wait and is destroyed on its own thread, so
// neither a new open nor closing the player waits on the network.

#include "engine/graph_manager.h"
#include "engine/playback_graph.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <mutex>
#include <thread>

namespace zelvaro {

struct GraphManager::PendingOpen {
  QString url;
  OpenDone done;
  OpenProgress progress;
  std::unique_ptr<QTimer> progressTimer;  // interface thread only
  int waitedSeconds = 0;
  std::atomic<bool> cancelled{false};  // read by the build's wait

  std::mutex mutex;                      // guards the fields below
  QObject* relay = nullptr;              // null once cancelled
  std::unique_ptr<PlaybackGraph> graph;  // the building thread's, then the result's
  GraphBuildResult result;
};

void GraphManager::OpenUrlAsync(const QString& url, OpenDone done, OpenProgress progress) {
  Close();
  hwAccel_ = static_cast<int>(Settings::GetDwordOr(setting::kLavHwAccel, kHwAccelDefault));
  Trace("OpenUrl with HWAccel=%d", hwAccel_);
  BeginUrlOpen(url, std::move(done), std::move(progress));
}

void GraphManager::BeginUrlOpen(const QString& url, OpenDone done, OpenProgress progress) {
  auto pending = std::make_shared<PendingOpen>();
  pending->url = url;
  pending->done = std::move(done);
  pending->progress = std::move(progress);
  pending->relay = eventRelay_.get();
  pending->progressTimer = std::make_unique<QTimer>();
  pending->progressTimer->setInterval(1000);
  QObject::connect(pending->progressTimer.get(), &QTimer::timeout, eventRelay_.get(),
                   [pending = pending.get()] {
                     ++pending->waitedSeconds;
                     if (pending->progress) pending->progress(pending->waitedSeconds);
                   });
  pending->progressTimer->start();
  pendingOpen_ = pending;
  StartUrlBuild(url, pending);
}

void GraphManager::StartUrlBuild(const QString& url, std::shared_ptr<PendingOpen> pending) {
  GraphBuildRequest request = PrepareBuild(url);
  request.cancel = &pending->cancelled;
  {
    std::lock_guard<std::mutex> guard(pending->mutex);
    pending->graph = MakeGraph();
  }
  // The graph gets the picture's output only once it is adopted: a build
  // that is cancelled never shows anything.
  std::thread([pending, request = std::move(request), this] {
    PlaybackGraph* graph = nullptr;
    {
      std::lock_guard<std::mutex> guard(pending->mutex);
      graph = pending->graph.get();
    }
    GraphBuildResult result = graph->Build(request);
    std::unique_ptr<PlaybackGraph> abandoned;
    {
      std::lock_guard<std::mutex> guard(pending->mutex);
      pending->result = result;
      if (pending->relay == nullptr) {
        abandoned = std::move(pending->graph);
      } else {
        // The relay lives as long as the manager; Close clears `relay`
        // under this mutex before either goes.
        QMetaObject::invokeMethod(
            pending->relay, [this, pending] { FinishUrlBuild(pending); }, Qt::QueuedConnection);
      }
    }
    // Torn down here, off the interface thread: leaving a connection that
    // never answered can take a while.
    abandoned.reset();
  }).detach();
}

void GraphManager::FinishUrlBuild(const std::shared_ptr<PendingOpen>& pending) {
  if (pending != pendingOpen_ || pending->cancelled) return;
  GraphBuildResult result;
  {
    std::lock_guard<std::mutex> guard(pending->mutex);
    graph_ = std::move(pending->graph);
    result = pending->result;
  }
  graph_->SetVideoOutput(videoWindowHandle_);
  bool opened = AdoptBuildResult(result);
  if (!opened && lastBuildHardwareFailed_ && hwAccel_ != kHwAccelNone) {
    // The one retry: a hardware decoder that failed, again in software.
    std::shared_ptr<PendingOpen> keep = std::move(pendingOpen_);
    Close();
    pendingOpen_ = std::move(keep);
    hwAccel_ = kHwAccelNone;
    softwareOnly_ = true;
    StartUrlBuild(pending->url, pending);
    softwareOnly_ = false;
    return;
  }
  pendingOpen_.reset();
  pending->progressTimer.reset();
  if (opened) {
    currentPath_ = pending->url;
    state_ = 0;
  } else {
    Close();
  }
  if (pending->done) pending->done(opened);
}

void GraphManager::CancelPendingOpen() {
  std::shared_ptr<PendingOpen> pending = std::move(pendingOpen_);
  if (!pending) return;
  Trace("Open of the network address cancelled");
  pending->cancelled = true;
  pending->progressTimer.reset();
  std::lock_guard<std::mutex> guard(pending->mutex);
  pending->relay = nullptr;
}

}  // namespace zelvaro
