#include "subtitles/subpic.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zelvaro {

// One block of pixel memory. `Written` bounds what was drawn on it, so that
// it can be cleared cheaply when it is used again.
struct SubPicPixels {
  uint8_t* Data = nullptr;
  int32_t Width = 0;
  int32_t Height = 0;
  int32_t Pitch = 0;
  SubPicRect Written;
  std::weak_ptr<SubPicPixelPool> Pool;

  size_t Bytes() const { return static_cast<size_t>(Pitch) * static_cast<size_t>(Height); }
  void MarkAllWritten() { Written = {0, 0, Width, Height}; }
};

// Keeps a few blocks of dead pictures for the next ones. Blocks are handed
// back from whichever thread drops the last reference to a picture.
class SubPicPixelPool {
 public:
  ~SubPicPixelPool() {
    for (SubPicPixels* block : free_) Destroy(block);
  }

  // Zeroed memory for a picture of this layout; null when there is none.
  SubPicPixels* Acquire(int32_t width, int32_t height, int32_t pitch) {
    SubPicPixels* block = nullptr;
    {
      std::lock_guard lock(mutex_);
      for (auto it = free_.begin(); it != free_.end(); ++it) {
        if ((*it)->Width == width && (*it)->Height == height && (*it)->Pitch == pitch) {
          block = *it;
          free_.erase(it);
          break;
        }
      }
    }
    if (block != nullptr) {
      const SubPicRect& written = block->Written;
      if (!written.IsEmpty()) {
        for (int32_t y = written.Top; y < written.Bottom; ++y)
          std::memset(block->Data + static_cast<ptrdiff_t>(y) * pitch + written.Left * 4, 0,
                      static_cast<size_t>(written.Right - written.Left) * 4);
      }
      block->Written = {};
      return block;
    }
    return New(width, height, pitch);
  }

  void Release(SubPicPixels* block) {
    {
      std::lock_guard lock(mutex_);
      // Blocks of another size are of no use any more.
      std::erase_if(free_, [&](SubPicPixels* old) {
        if (old->Width == block->Width && old->Height == block->Height &&
            old->Pitch == block->Pitch)
          return false;
        Destroy(old);
        return true;
      });
      if (free_.size() < kMaxFree) {
        free_.push_back(block);
        return;
      }
    }
    Destroy(block);
  }

  // A block outside any pool, or this pool's: calloc, as large blocks come
  // zeroed from the system.
  static SubPicPixels* New(int32_t width, int32_t height, int32_t pitch) {
    auto* data = static_cast<uint8_t*>(
        std::calloc(static_cast<size_t>(pitch) * static_cast<size_t>(height), 1));
    if (data == nullptr) return nullptr;
    return new SubPicPixels{data, width, height, pitch, {}, {}};
  }

  static void Destroy(SubPicPixels* block) {
    std::free(block->Data);
    delete block;
  }

 private:
  static constexpr size_t kMaxFree = 2;
  std::mutex mutex_;
  std::vector<SubPicPixels*> free_;
};

namespace {

std::atomic<uint64_t> nextPictureId{1};

// The clean-up of a picture's image: the last reference to the pixels is gone.
void ReleasePixels(void* info) {
  auto* block = static_cast<SubPicPixels*>(info);
  if (auto pool = block->Pool.lock())
    pool->Release(block);
  else
    SubPicPixelPool::Destroy(block);
}

}  // namespace

std::shared_ptr<CMemSubPic> CMemSubPic::Create(const SubPicDesc& layout,
                                               const std::shared_ptr<SubPicPixelPool>& pool) {
  if (layout.Width < 1 || layout.Height < 1 || layout.Bpp != 32 || layout.Pitch < layout.Width * 4)
    return nullptr;
  SubPicPixels* block = pool ? pool->Acquire(layout.Width, layout.Height, layout.Pitch)
                             : SubPicPixelPool::New(layout.Width, layout.Height, layout.Pitch);
  if (block == nullptr) return nullptr;
  block->Pool = pool;
  std::shared_ptr<CMemSubPic> picture(new CMemSubPic());
  picture->image_ = QImage(static_cast<const uchar*>(block->Data), layout.Width, layout.Height,
                           layout.Pitch, QImage::Format_ARGB32_Premultiplied, ReleasePixels, block);
  if (picture->image_.isNull()) {
    SubPicPixelPool::Destroy(block);
    return nullptr;
  }
  picture->pixels_ = block;
  picture->desc_ = layout;
  picture->desc_.Data = block->Data;
  picture->id_ = nextPictureId.fetch_add(1);
  return picture;
}

bool CMemSubPic::Lock(SubPicDesc* desc) {
  if (locked_ || desc == nullptr) return false;
  locked_ = true;
  // Until Unlock says where, anything may be drawn on.
  pixels_->MarkAllWritten();
  *desc = desc_;
  return true;
}

bool CMemSubPic::Unlock(const SubPicRect* rect) {
  if (!locked_) return false;
  locked_ = false;
  if (rect != nullptr) {
    const SubPicRect clipped{std::max(rect->Left, 0), std::max(rect->Top, 0),
                             std::min(rect->Right, desc_.Width),
                             std::min(rect->Bottom, desc_.Height)};
    if (!clipped.IsEmpty()) SetDirtyRect(clipped);
    pixels_->Written = clipped.IsEmpty() ? SubPicRect{} : clipped;
  }
  return true;
}

CMemSubPicAllocator::CMemSubPicAllocator(int32_t type, QSize maxSize)
    : pool_(std::make_shared<SubPicPixelPool>()), type_(type), maxSize_(maxSize) {}

void CMemSubPicAllocator::SetMaxSize(QSize size) {
  std::lock_guard lock(mutex_);
  maxSize_ = size;
}

QSize CMemSubPicAllocator::GetMaxSize() const {
  std::lock_guard lock(mutex_);
  return maxSize_;
}

void CMemSubPicAllocator::SetVideoRect(const SubPicRect& rect) {
  std::lock_guard lock(mutex_);
  videoRect_ = rect;
}

SubPicRect CMemSubPicAllocator::GetVideoRect() const {
  std::lock_guard lock(mutex_);
  return videoRect_;
}

std::shared_ptr<CMemSubPic> CMemSubPicAllocator::AllocDynamic() const {
  SubPicDesc layout;
  {
    std::lock_guard lock(mutex_);
    layout.Type = type_;
    layout.Width = maxSize_.width();
    layout.Height = maxSize_.height();
    layout.VideoRect = videoRect_;
  }
  // Sizes come from the window system; anything past 16K a side is no video.
  constexpr int32_t kMaxSide = 16384;
  if (layout.Width < 1 || layout.Height < 1 || layout.Width > kMaxSide || layout.Height > kMaxSide)
    return nullptr;
  layout.Bpp = 32;
  layout.Pitch = (layout.Bpp * layout.Width / 8 + 15) & ~15;
  return CMemSubPic::Create(layout, pool_);
}

}  // namespace zelvaro
