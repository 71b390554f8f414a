#pragma once
// Sub-pictures: the subtitles of one moment as premultiplied BGRA pixels the
// size of the video as shown (QImage::Format_ARGB32_Premultiplied byte order:
// B, G, R, A), with the rectangle that holds anything (the dirty rectangle).
//
// Ownership: pictures are shared. The queue (subpic_queue.h) keeps the last
// few; whoever asked for one holds a std::shared_ptr<const CMemSubPic> for as
// long as it likes, and the pixels live while that pointer or any QImage
// from Image() does. A picture is written once, by the queue before anyone
// else sees it, and never changes after: a different picture (another Id(),
// another Image().cacheKey()) is the only sign that the subtitles changed.
//
// Threads: the read-only members of a published picture may be used from any
// thread at once. Lock/Unlock and the setters belong to whoever renders it
// before publishing. CMemSubPicAllocator is thread-safe.

#include <QImage>
#include <QRect>
#include <QSize>

#include <climits>
#include <cstdint>
#include <memory>
#include <mutex>

namespace zelvaro {

// Right and bottom are exclusive. The inverted rectangle is where a bounding
// box starts before anything has grown it.
struct SubPicRect {
  int32_t Left = 0;
  int32_t Top = 0;
  int32_t Right = 0;
  int32_t Bottom = 0;

  static constexpr SubPicRect Inverted() { return {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN}; }
  bool IsEmpty() const { return Left >= Right || Top >= Bottom; }
  QRect ToQRect() const {
    return IsEmpty() ? QRect() : QRect(Left, Top, Right - Left, Bottom - Top);
  }
  bool operator==(const SubPicRect&) const = default;
};

// Where a provider draws: rows of Pitch bytes, Width x Height pixels.
struct SubPicDesc {
  int32_t Type = 0;
  int32_t Width = 0;
  int32_t Height = 0;
  int32_t Bpp = 32;
  int32_t Pitch = 0;
  uint8_t* Data = nullptr;
  SubPicRect VideoRect;
};

// A span of video time in 100-ns units, [Start, Stop).
struct SubPicWindow {
  int64_t Start = 0;
  int64_t Stop = 0;
  bool Contains(int64_t time100ns) const { return Start <= time100ns && time100ns < Stop; }
};

// What the queue asks of a subtitle source. Implementations lock themselves;
// the queue calls them with its own lock held (lock order: queue, provider).
class ISubPicProvider {
 public:
  virtual ~ISubPicProvider() = default;

  struct Probe {
    bool Showing = false;        // an event is active at the time
    uint64_t ContentSerial = 0;  // equal serials draw equal pixels
  };
  // Called on every lookup, so cheap: no drawing.
  virtual Probe ProbeAt(int64_t time100ns) = 0;

  // Draws the subtitles at `time100ns` into `target` (zeroed beforehand) and
  // grows `bbox` over what it touched. Always fills `window`, the span around
  // the time in which the same events are active, and `contentSerial`, the
  // identity of what was drawn. Returns false when nothing was drawn.
  virtual bool Render(const SubPicDesc& target, int64_t time100ns, SubPicRect* bbox,
                      SubPicWindow* window, uint64_t* contentSerial) = 0;
};

struct SubPicPixels;
class SubPicPixelPool;

class CMemSubPic {
 public:
  // Use CMemSubPicAllocator::AllocDynamic. Null when the memory can't be had.
  // With a pool, the memory comes from it and goes back to it.
  static std::shared_ptr<CMemSubPic> Create(const SubPicDesc& layout,
                                            const std::shared_ptr<SubPicPixelPool>& pool = {});

  // --- Read side, any thread once published.
  // The pixels as an image that shares them (no copy). Stable cacheKey().
  QImage Image() const { return image_; }
  const uint8_t* Bits() const { return desc_.Data; }
  int32_t Pitch() const { return desc_.Pitch; }
  QSize GetSize() const { return {desc_.Width, desc_.Height}; }
  QSize GetMaxSize() const { return GetSize(); }
  SubPicRect GetVideoRect() const { return desc_.VideoRect; }
  SubPicRect GetDirtyRect() const { return dirtyRect_; }
  int64_t GetStart() const { return start_; }
  int64_t GetStop() const { return stop_; }
  uint64_t GetContentSerial() const { return contentSerial_; }
  // Unique in the process; never reused.
  uint64_t Id() const { return id_; }

  // --- Write side, before publishing.
  // Hands out the descriptor for drawing; false when already locked.
  bool Lock(SubPicDesc* desc);
  // False when not locked. A non-empty `rect`, clipped to the picture,
  // becomes the dirty rectangle; null or empty leaves it as it was. The
  // rectangle must hold every pixel written since Lock: recycled memory is
  // cleared there only.
  bool Unlock(const SubPicRect* rect);
  void SetStart(int64_t start) { start_ = start; }
  void SetStop(int64_t stop) { stop_ = stop; }
  void SetDirtyRect(const SubPicRect& rect) { dirtyRect_ = rect; }
  void ClearDirtyRect() { dirtyRect_ = {}; }
  void SetContentSerial(uint64_t serial) { contentSerial_ = serial; }

 private:
  CMemSubPic() = default;

  SubPicDesc desc_;
  // Read-only for everyone else: a write through a copy detaches. It owns
  // the memory (through its clean-up) that desc_.Data points into.
  QImage image_;
  SubPicPixels* pixels_ = nullptr;  // owned by image_
  SubPicRect dirtyRect_;
  int64_t start_ = 0;
  int64_t stop_ = 0;
  uint64_t contentSerial_ = 0;
  uint64_t id_ = 0;
  bool locked_ = false;
};

class CMemSubPicAllocator {
 public:
  // Pictures are 32 bits a pixel; `type` is carried into their descriptors.
  CMemSubPicAllocator(int32_t type, QSize maxSize);

  void SetMaxSize(QSize size);
  QSize GetMaxSize() const;
  void SetVideoRect(const SubPicRect& rect);
  SubPicRect GetVideoRect() const;

  // A new zeroed picture of the maximum size each call, with rows padded to
  // 16 bytes; null when the size is empty or the memory can't be had. The
  // memory of pictures that died is used again, cleared where it was drawn
  // on, so a frame of an animation doesn't pay for clearing a whole frame.
  std::shared_ptr<CMemSubPic> AllocDynamic() const;

 private:
  std::shared_ptr<SubPicPixelPool> pool_;
  mutable std::mutex mutex_;
  int32_t type_;
  QSize maxSize_;
  SubPicRect videoRect_;
};

}  // namespace zelvaro
