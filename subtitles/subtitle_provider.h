#pragma once
// CSubtitleProvider: one loaded subtitle file and the drawing of its moments.
// It holds one libass track or, when libass can't read the file, a list of
// plain cues that it draws itself (cue_painter.h), and answers which events
// are active at a time.
//
// Threads: Load, Adopt, Clear, SetStyle and SetDelay come from the owner;
// ProbeAt and Render from the renderer's thread, through the queue. A load is
// two halves: Prepare reads, decodes, converts and parses on new objects
// without any lock (on a worker thread), Adopt swaps the result in at once,
// so the renderer never waits on a large file. Two recursive locks: the
// provider lock, then the process's libass lock (libass_context.h).
//
// Times: video time in 100-ns units outside; subtitle time in milliseconds
// inside. The delay moves the subtitles: the subtitle time shown at video
// time t is delay + t (in ms), never below 0, and the windows of the events
// move with it.

#include "subtitles/bitmap_subtitle_track.h"
#include "subtitles/event_timeline.h"
#include "subtitles/libass_context.h"
#include "subtitles/srt_converter.h"
#include "subtitles/subpic.h"
#include "subtitles/subtitle_files.h"
#include "subtitles/subtitle_style.h"

#include <QSize>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace zelvaro {

// In video time, 100-ns units, sorted by Start.
struct SubtitleEvent {
  int64_t Start = 0;
  int64_t Stop = 0;
};

// What a load has read, ready to be adopted by a provider. Opaque.
struct PreparedSubtitle;

class CSubtitleProvider : public ISubPicProvider {
 public:
  CSubtitleProvider();
  ~CSubtitleProvider() override;
  CSubtitleProvider(const CSubtitleProvider&) = delete;
  CSubtitleProvider& operator=(const CSubtitleProvider&) = delete;

  // Reads any subtitle file: SRT, WebVTT and SAMI through the converters,
  // everything else as ASS; when libass yields no events, the file is read
  // as plain cues. The previous subtitle is gone either way. False when
  // nothing could be read: no file, too large, or no event in it.
  bool Load(const QString& path);
  // The first half of Load, for any thread and without a provider: null when
  // the file can't be read or `cancelled` (asked between the steps) says so.
  static std::shared_ptr<PreparedSubtitle> Prepare(const QString& path, const SubtitleStyle& style,
                                                   const std::function<bool()>& cancelled);
  // The second half: what was prepared becomes the subtitle; when nothing
  // could be read (null or no event), the previous subtitle is gone. Returns
  // whether a subtitle was loaded.
  bool Adopt(std::shared_ptr<PreparedSubtitle> prepared);
  void Clear();
  // Clear, except that the libass track is handed to the caller, who frees
  // it with FreeAssContext (a large one takes a while to free).
  std::unique_ptr<AssContext> TakeTrackAndClear();
  // Frees a track under the libass lock; null does nothing.
  static void FreeAssContext(std::unique_ptr<AssContext> context);

  // libass (kAss) or the cue path (kSrt) after a load; kUnknown before.
  SubtitleType GetType() const;
  bool HasSubtitle() const;

  // A subtitle stream of the playing file (subtitle_stream_track.cpp): an
  // empty libass track from an ASS script header, in place of whatever was
  // loaded, whose events come later by AddStreamEvent. `token` (not 0) names
  // it; any Adopt or Clear ends it.
  bool AdoptStreamTrack(const std::string& header, uint64_t token);
  // One event as an ASS chunk; ignored unless the track of `token` is still
  // the one loaded, or libass has the line already (a stream seen again).
  void AddStreamEvent(uint64_t token, const std::string& chunk, int64_t startMs,
                      int64_t durationMs);
  // A picture subtitle stream (bitmap_subtitle_track.cpp): no libass track,
  // cues come later by AddBitmapCue, under the same token rules.
  bool AdoptBitmapTrack(uint64_t token);
  void AddBitmapCue(uint64_t token, BitmapSubtitleCue cue);

  // Used by the next Load (the style is baked into converted scripts).
  void SetStyle(const SubtitleStyle& style);
  SubtitleStyle GetStyle() const;
  void SetDelay(int64_t delayMs);
  int64_t GetDelay() const;
  // The pixel size pictures are drawn at; libass follows at once.
  void SetRenderSize(QSize size);
  QSize GetRenderSize() const;

  // The event list, undelayed. Positions are 1-based; 0 means none.
  size_t GetEventCount() const;
  // The first event whose Stop is after `time100ns`.
  size_t GetStartPosition(int64_t time100ns) const;
  size_t GetNext(size_t position) const;
  int64_t GetStart(size_t position) const;
  int64_t GetStop(size_t position) const;

  Probe ProbeAt(int64_t time100ns) override;
  bool Render(const SubPicDesc& target, int64_t time100ns, SubPicRect* bbox, SubPicWindow* window,
              uint64_t* contentSerial) override;

 private:
  int64_t SubtitleTimeMs(int64_t time100ns) const;
  SubPicWindow WindowAt(int64_t time100ns) const;
  // Call with the provider lock held whenever what would be drawn changes.
  void ContentChanged() { ++contentSerial_; }

  mutable std::recursive_mutex mutex_;  // the provider lock
  QSize renderSize_;
  SubtitleType type_ = SubtitleType::kUnknown;
  std::unique_ptr<AssContext> ass_;  // with a track, or null
  std::vector<SrtCue> cues_;
  std::vector<SubtitleEvent> events_;
  EventTimeline timeline_;
  int64_t delayMs_ = 0;
  SubtitleStyle style_;
  uint64_t contentSerial_ = 1;
  uint64_t streamToken_ = 0;  // the stream track loaded; 0 for none
  // Read orders of that stream beyond kMaxKeptReadOrder, and what each became.
  std::unordered_map<long long, int> movedReadOrders_;
  bool bitmapTrack_ = false;  // that stream is one of pictures
  BitmapCueList bitmaps_;
};

}  // namespace zelvaro
