#pragma once
// SubtitleManager: the subtitle pipeline of one playing file. It finds side
// files, owns the provider (the loaded file, libass), the allocator and the
// sub-picture queue, keeps the track list, the delay and the enabled flag,
// and hands the renderer a picture for each frame. It knows nothing of the
// engine or of windows.
//
// Ownership: the engine owns one manager. Pictures from GetSubPic are shared
// (see subpic.h): the caller may keep one as long as it likes; the pixels
// stay valid while it does, whatever the manager does meanwhile (Shutdown
// included). A picture never changes; a different picture means the
// subtitles changed, so a renderer uploads only when the pointer (or Id(),
// or Image().cacheKey()) differs from the last one.
//
// Threads: every method is safe from any thread. Initialize, Shutdown,
// LoadSubtitle, ReloadSubtitle, SetDelay, Clear and SetEnabled are the
// owner's and run one at a time; LoadSubtitle reads and converts without
// holding what the renderer needs. The interface thread loads with
// LoadSubtitleAsync instead: the manager's own worker thread reads, decodes,
// converts and parses, swaps the result in, and reports back by a queued call
// to the thread that created the manager. GetSubPic and SetRenderSize are the
// renderer's, typically once per frame; they never wait for a load, only for
// a render or a swap in progress. Lock order inside: queue, provider, libass.
// The destructor waits for the worker, which stops at its next step.

#include "subtitles/subpic.h"
#include "subtitles/subpic_queue.h"
#include "subtitles/subtitle_files.h"
#include "subtitles/subtitle_provider.h"
#include "subtitles/subtitle_style.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class QObject;

namespace zelvaro {

struct SubtitleTrackInfo {
  int32_t Id = 0;
  QString Name;      // the file name without folders
  QString Language;  // left empty
  QString Path;
  bool External = true;
  bool Selected = true;
};

class SubtitleManager {
 public:
  SubtitleManager();
  ~SubtitleManager();
  SubtitleManager(const SubtitleManager&) = delete;
  SubtitleManager& operator=(const SubtitleManager&) = delete;

  // Creates allocator, provider (style from the settings) and queue for a
  // video of this size (1920x1080 when not positive); a second call starts
  // over. The enabled flag is the caller's to set (SubtitleEnabled).
  bool Initialize(int32_t videoWidth, int32_t videoHeight);
  // Releases queue, provider and allocator; forgets the tracks.
  void Shutdown();
  bool IsInitialized() const;

  void SetEnabled(bool enabled);
  bool IsEnabled() const;

  // The pixel size the video is shown at; pictures are drawn at this size.
  // Ignored unless both are positive and it differs from the last; a change
  // empties the queue.
  void SetRenderSize(int32_t width, int32_t height);

  // Loads any subtitle file as the one track; false when not initialised or
  // nothing could be read (the previous subtitle is gone all the same).
  bool LoadSubtitle(const QString& path);
  // LoadSubtitle on the worker. The subtitle shown so far stays until the new
  // one is in place (or, when nothing could be read, is gone); then `done`
  // runs with the outcome on the thread that created the manager. Any later
  // load, Clear, Initialize or Shutdown cancels a load still under way: it
  // changes nothing and its `done` never runs.
  void LoadSubtitleAsync(const QString& path, std::function<void(bool loaded)> done);
  // A load from LoadSubtitleAsync is under way and not cancelled.
  bool IsLoading() const;
  // Reads the current track again with the style from the settings: how a
  // style change reaches the screen. ASS files keep their own styles.
  bool ReloadSubtitle();
  // ReloadSubtitle on the worker, as LoadSubtitleAsync does a load: the
  // style from the settings is in force at once, the track read again with
  // it shows when ready. False, and nothing started, without a track.
  bool ReloadSubtitleAsync(std::function<void(bool loaded)> done);
  // Absolute delay in milliseconds; positive shows the subtitles earlier.
  void SetDelay(int64_t delayMs);
  // The provider's delay; 0 when not initialised.
  int64_t GetDelay() const;
  // Empties provider, queue and tracks, keeping the pipeline.
  void Clear();
  // Drops every cached picture (after a track change made elsewhere).
  void InvalidateQueue();

  // A subtitle stream of the playing file in place of the loaded subtitle
  // (subtitle_stream_track.cpp): an empty libass track from `assHeader` (an
  // ASS stream's script header; empty: the header side files get, with the
  // style of the settings), named `name` in the track list. Returns the
  // token AddStreamEvent needs, 0 when no track could be made. Any later
  // load or Clear ends it.
  uint64_t StartStreamTrack(const QString& name, const std::string& assHeader);
  // One event of that stream as an ASS chunk (subtitle_stream_track.h), from
  // any thread (a streaming thread); dropped once its track has ended.
  void AddStreamEvent(uint64_t token, const std::string& chunk, int64_t startMs,
                      int64_t durationMs);
  // The same for a stream of pictures (bitmap_subtitle_track.h): cues come
  // decoded, from any thread.
  uint64_t StartBitmapTrack(const QString& name);
  void AddBitmapCue(uint64_t token, BitmapSubtitleCue cue);

  // A track or cues are loaded.
  bool HasSubtitle() const;
  std::vector<SubtitleTrackInfo> GetTracks() const;
  int32_t GetCurrentTrack() const;  // -1 for none

  // The picture for the video frame at `time100ns`, or null when there is
  // nothing to show (not initialised, disabled, nothing loaded, or a gap).
  // Premultiplied BGRA of the render size; GetDirtyRect() says where.
  std::shared_ptr<const CMemSubPic> GetSubPic(int64_t time100ns);

 private:
  struct LoadJob {
    uint64_t Generation = 0;
    QString Path;
    SubtitleStyle Style;
    std::function<void(bool)> Done;
  };

  // With operationMutex_ held.
  void ShutdownLocked();
  // Forgets the tracks of the last file and hands out the queue and the
  // provider; false when nothing can be loaded (not initialised, no path).
  bool BeginLoad(const QString& path, std::shared_ptr<CSubPicQueue>* queue,
                 std::shared_ptr<CSubtitleProvider>* provider);
  bool LoadSubtitleLocked(const QString& path);
  // With operationMutex_ held: starts a track fed from the file's own stream,
  // handing the provider its token through adopt; 0 when it refuses.
  uint64_t StartEmbeddedTrack(const QString& name,
                              const std::function<bool(CSubtitleProvider&, uint64_t)>& adopt);
  // Puts a prepared load in place as the one track; the previous one goes.
  bool AdoptLocked(const QString& path, std::shared_ptr<PreparedSubtitle> prepared);
  // Hands a track to the worker to be freed there.
  void Retire(std::unique_ptr<AssContext> track);
  // Makes every load under way stale; returns the new generation.
  uint64_t CancelLoads();
  void RunWorker();

  std::mutex operationMutex_;      // one owner operation at a time
  mutable std::mutex stateMutex_;  // the fields below; held only briefly
  bool initialized_ = false;
  bool enabled_ = true;
  QSize videoSize_;
  QSize renderSize_;
  std::shared_ptr<CMemSubPicAllocator> allocator_;
  std::shared_ptr<CSubPicQueue> queue_;
  std::shared_ptr<CSubtitleProvider> provider_;
  std::vector<SubtitleTrackInfo> tracks_;
  int32_t currentTrack_ = -1;

  // The asynchronous loads: the newest request waits in pendingLoad_; a load
  // whose generation is no longer loadGeneration_ is stale.
  std::atomic<uint64_t> loadGeneration_{0};
  std::atomic<uint64_t> streamTokens_{0};
  mutable std::mutex loadMutex_;  // the fields below
  std::condition_variable loadRequested_;
  std::optional<LoadJob> pendingLoad_;
  std::vector<std::unique_ptr<AssContext>> retiredTracks_;  // freed by the worker
  uint64_t runningGeneration_ = 0;
  bool stopping_ = false;
  std::thread worker_;
  std::unique_ptr<QObject> relay_;  // on the creating thread; `done` runs there
};

}  // namespace zelvaro
