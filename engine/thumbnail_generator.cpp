#include "engine/thumbnail_generator.h"

#include "engine/graph_manager.h"
#include "engine/keyframe_table.h"
#include "engine/thumbnail_pipeline.h"
#include "foundation/trace.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QFileInfo>
#include <QObject>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zelvaro {
namespace {

constexpr auto kThreadWait = std::chrono::milliseconds(200);
// Decoded keyframes kept, so sweeping back and forth over the bar hits.
constexpr size_t kRecentKeyframes = 32;
// The table's times are truncated to 100 ns and the pipeline's are not: a
// key-unit seek a little past the keyframe still snaps back onto it.
constexpr int64_t kSeekPastKeyframe100ns = 100'000;  // 10 ms
// Previews are background work: on a busy machine the interface thread, and
// playback, come first. The streaming threads the pipeline starts inherit it.
constexpr int kPreviewNiceness = 5;

void LowerThisThreadsPriority() {
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kPreviewNiceness);
}

struct ThumbnailFrame {
  double fraction = 0.0;
  QImage image;
  int width = 0;
  int height = 0;
};

struct RecentKeyframe {
  int64_t time100ns = 0;
  QImage image;
};

}  // namespace

// The state of one Open, shared with its threads: a thread left running
// after Close keeps its session alive and touches nothing else.
struct ThumbnailSession {
  QString path;
  std::atomic<bool> stop{false};
  std::atomic<bool> failed{false};
  std::atomic<int64_t> duration100ns{0};

  std::mutex mutex;  // guards everything below up to the cache
  std::condition_variable wake;
  std::optional<int64_t> pending;      // keyframe asked for, not yet started
  std::optional<int64_t> inFlight;     // keyframe being decoded
  std::vector<RecentKeyframe> recent;  // most recently used first
  QObject* relay = nullptr;            // null once the session is closed
  // Runs on the interface thread through the relay, so only while the
  // generator that opened the session still exists.
  std::function<void(uint64_t generation)> notify;
  uint64_t generation = 0;
  bool previewDone = false;
  bool workerDone = false;
  std::condition_variable finished;

  std::mutex cacheMutex;
  std::vector<ThumbnailFrame> cache;
  std::atomic<int> cachedFrames{0};
};

struct ThumbnailGenerator::Impl {
  // Lives on the interface thread; the threads' queued calls land here, and
  // are dropped with it.
  std::unique_ptr<QObject> relay = std::make_unique<QObject>();
  std::function<void()> frameReady;
  std::shared_ptr<ThumbnailSession> session;
  std::vector<int64_t> keyframes;
  bool keyframeMode = false;
  bool workerStarted = false;
  uint64_t generation = 0;
  std::thread previewThread;
  std::thread worker;

  void NotifyFrameReady(uint64_t fromGeneration) {
    if (fromGeneration == generation && frameReady) frameReady();
  }
};

namespace {

void FinishThread(ThumbnailSession& session, bool ThumbnailSession::*done) {
  std::lock_guard<std::mutex> guard(session.mutex);
  session.*done = true;
  session.finished.notify_all();
}

void WaitOrDetach(ThumbnailSession& session, std::thread& thread, bool ThumbnailSession::*done) {
  if (!thread.joinable()) return;
  bool ended;
  {
    std::unique_lock<std::mutex> lock(session.mutex);
    ended = session.finished.wait_for(lock, kThreadWait, [&] { return session.*done; });
  }
  if (ended) {
    thread.join();
  } else {
    Trace("Thumbnails: a thread outlived its wait and finishes on its own");
    thread.detach();
  }
}

void RunPreviewThread(std::shared_ptr<ThumbnailSession> session) {
  LowerThisThreadsPriority();
  PreviewPipeline pipeline;
  if (!pipeline.Start(session->path, session->stop)) {
    session->failed = true;
    FinishThread(*session, &ThumbnailSession::previewDone);
    return;
  }
  if (session->duration100ns == 0) session->duration100ns = pipeline.Duration100ns();
  if (session->duration100ns <= 0) session->failed = true;

  std::unique_lock<std::mutex> lock(session->mutex);
  while (!session->failed) {
    session->wake.wait(lock, [&] { return session->stop || session->pending.has_value(); });
    if (session->stop) break;
    const int64_t keyframe = *session->pending;
    session->pending.reset();
    session->inFlight = keyframe;
    lock.unlock();
    QImage image = pipeline.FrameAt(keyframe + kSeekPastKeyframe100ns, session->stop);
    lock.lock();
    session->inFlight.reset();
    if (image.isNull()) continue;
    auto& recent = session->recent;
    recent.insert(recent.begin(), RecentKeyframe{keyframe, std::move(image)});
    if (recent.size() > kRecentKeyframes) recent.pop_back();
    // A newer request waiting means this picture is no longer wanted on
    // screen; it stays among the recent ones all the same.
    if (session->pending || session->relay == nullptr) continue;
    QMetaObject::invokeMethod(
        session->relay,
        [notify = session->notify, generation = session->generation] { notify(generation); },
        Qt::QueuedConnection);
  }
  lock.unlock();
  FinishThread(*session, &ThumbnailSession::previewDone);
}

void RunCacheWorker(std::shared_ptr<ThumbnailSession> session) {
  LowerThisThreadsPriority();
  PreviewPipeline pipeline;
  const bool started = pipeline.Start(session->path, session->stop);
  const int64_t duration = pipeline.Duration100ns();
  if (!started || duration <= 0) {
    if (!session->stop) session->failed = true;
    FinishThread(*session, &ThumbnailSession::workerDone);
    return;
  }
  session->duration100ns = duration;
  for (int index = 0; index < ThumbnailGenerator::kCacheFrames && !session->stop; ++index) {
    const double fraction = index / static_cast<double>(ThumbnailGenerator::kCacheFrames - 1);
    const auto time100ns = static_cast<int64_t>(static_cast<double>(duration) * fraction);
    // The last index sits at the very end, where the stream usually ends
    // before a picture: it then leaves no entry.
    QImage image = pipeline.FrameAt(time100ns, session->stop);
    if (image.isNull()) continue;
    std::lock_guard<std::mutex> guard(session->cacheMutex);
    session->cache.push_back(ThumbnailFrame{
        fraction, std::move(image), ThumbnailGenerator::kMaxWidth, ThumbnailGenerator::kMaxHeight});
    session->cachedFrames = static_cast<int>(session->cache.size());
  }
  FinishThread(*session, &ThumbnailSession::workerDone);
}

double ClampFraction(double fraction) {
  if (!(fraction > 0.0)) return 0.0;  // NaN too
  return std::min(fraction, 1.0);
}

}  // namespace

QSize ThumbnailTargetSize(int width, int height) {
  if (width < 1 || height < 1)
    return QSize(ThumbnailGenerator::kMaxWidth, ThumbnailGenerator::kMaxHeight);
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  if (aspect > 1.7777778f) {
    return QSize(ThumbnailGenerator::kMaxWidth, std::max(1, static_cast<int>(160.0f / aspect)));
  }
  return QSize(std::max(1, static_cast<int>(aspect * 90.0f)), ThumbnailGenerator::kMaxHeight);
}

ThumbnailGenerator::ThumbnailGenerator() : impl_(std::make_unique<Impl>()) {}

ThumbnailGenerator::~ThumbnailGenerator() {
  Close();
}

bool ThumbnailGenerator::Open(const QString& path, GraphManager* graph) {
  Close();
  const QFileInfo file(path);
  if (path.isEmpty() || IsUrl(path) || !file.isFile() || !file.isReadable()) return false;

  auto session = std::make_shared<ThumbnailSession>();
  session->path = file.absoluteFilePath();
  if (graph != nullptr) {
    {
      std::lock_guard<std::recursive_mutex> guard(graph->Lock());
      impl_->keyframes = graph->Keyframes();
    }
    // The graph knows the duration already; the preview thread learns it
    // only once its pipeline has prerolled.
    if (!impl_->keyframes.empty())
      session->duration100ns = static_cast<int64_t>(graph->GetDuration() * 10'000'000.0);
  }
  impl_->keyframeMode = !impl_->keyframes.empty();
  session->relay = impl_->relay.get();
  session->notify = [impl = impl_.get()](uint64_t generation) {
    impl->NotifyFrameReady(generation);
  };
  session->generation = ++impl_->generation;
  session->previewDone = true;
  session->workerDone = true;
  impl_->session = session;
  if (impl_->keyframeMode) {
    session->previewDone = false;
    impl_->previewThread = std::thread(RunPreviewThread, session);
  }
  return true;
}

void ThumbnailGenerator::Close() {
  std::shared_ptr<ThumbnailSession> session = std::move(impl_->session);
  ++impl_->generation;
  impl_->keyframes.clear();
  impl_->keyframeMode = false;
  impl_->workerStarted = false;
  if (!session) return;
  {
    std::lock_guard<std::mutex> guard(session->mutex);
    session->stop = true;
    session->relay = nullptr;
    session->pending.reset();
    session->recent.clear();
    session->wake.notify_all();
  }
  WaitOrDetach(*session, impl_->previewThread, &ThumbnailSession::previewDone);
  WaitOrDetach(*session, impl_->worker, &ThumbnailSession::workerDone);
  std::lock_guard<std::mutex> guard(session->cacheMutex);
  session->cache.clear();
  session->cachedFrames = 0;
}

bool ThumbnailGenerator::StartWorker() {
  if (!ready() || impl_->keyframeMode || impl_->workerStarted) return false;
  ThumbnailSession& session = *impl_->session;
  {
    std::lock_guard<std::mutex> guard(session.mutex);
    session.workerDone = false;
  }
  impl_->workerStarted = true;
  impl_->worker = std::thread(RunCacheWorker, impl_->session);
  return true;
}

bool ThumbnailGenerator::ready() const {
  const ThumbnailSession* session = impl_->session.get();
  if (session == nullptr || session->failed) return false;
  return !impl_->keyframeMode || session->duration100ns > 0;
}

bool ThumbnailGenerator::workerRunning() const {
  const ThumbnailSession* session = impl_->session.get();
  if (session == nullptr || !impl_->workerStarted) return false;
  std::lock_guard<std::mutex> guard(impl_->session->mutex);
  return !session->workerDone;
}

bool ThumbnailGenerator::keyframeMode() const {
  return impl_->keyframeMode;
}

QImage ThumbnailGenerator::GetFrame(double fraction, int* width, int* height) {
  if (!ready()) return {};
  fraction = ClampFraction(fraction);
  ThumbnailSession& session = *impl_->session;
  if (!impl_->keyframeMode) {
    std::lock_guard<std::mutex> guard(session.cacheMutex);
    const ThumbnailFrame* nearest = nullptr;
    double nearestDistance = 1.0;
    for (const ThumbnailFrame& frame : session.cache) {
      const double distance = std::abs(frame.fraction - fraction);
      if (nearest == nullptr ? distance <= nearestDistance : distance < nearestDistance) {
        nearest = &frame;
        nearestDistance = distance;
      }
    }
    if (nearest == nullptr) return {};
    if (width != nullptr) *width = nearest->width;
    if (height != nullptr) *height = nearest->height;
    return nearest->image;
  }

  const int64_t duration = session.duration100ns;
  const auto time100ns =
      static_cast<int64_t>(static_cast<double>(duration) / 10'000'000.0 * fraction * 10'000'000.0);
  const int64_t keyframe = SnapToKeyframe(impl_->keyframes, time100ns, 0);
  std::lock_guard<std::mutex> guard(session.mutex);
  auto& recent = session.recent;
  auto hit = std::find_if(recent.begin(), recent.end(),
                          [&](const RecentKeyframe& entry) { return entry.time100ns == keyframe; });
  if (hit != recent.end()) {
    std::rotate(recent.begin(), hit, hit + 1);
    if (width != nullptr) *width = kMaxWidth;
    if (height != nullptr) *height = kMaxHeight;
    // Whatever was asked before is not what is on show now.
    session.pending.reset();
    return recent.front().image;
  }
  if (session.inFlight == keyframe) {
    session.pending.reset();  // the picture on its way is the newest wish
  } else if (session.pending != keyframe) {
    session.pending = keyframe;
    session.wake.notify_one();
  }
  return {};
}

void ThumbnailGenerator::SetFrameReadyCallback(std::function<void()> callback) {
  impl_->frameReady = std::move(callback);
}

int ThumbnailGenerator::CachedFrameCount() const {
  return impl_->session ? impl_->session->cachedFrames.load() : 0;
}

}  // namespace zelvaro
