#include "subtitles/subpic_queue.h"

#include <algorithm>

namespace zelvaro {

namespace {

constexpr int64_t kExpiry100ns = 10'000'000;  // one second

}  // namespace

CSubPicQueue::CSubPicQueue(std::shared_ptr<CMemSubPicAllocator> allocator, int capacity)
    : allocator_(std::move(allocator)), capacity_(std::max(capacity, 1)) {}

void CSubPicQueue::SetProvider(std::shared_ptr<ISubPicProvider> provider) {
  std::lock_guard lock(mutex_);
  provider_.swap(provider);
  ClearQueue();
}

std::shared_ptr<ISubPicProvider> CSubPicQueue::GetProvider() const {
  std::lock_guard lock(mutex_);
  return provider_;
}

std::shared_ptr<const CMemSubPic> CSubPicQueue::LookupSubPic(int64_t time100ns) {
  std::lock_guard lock(mutex_);
  if (!provider_ || !allocator_) return nullptr;
  const int64_t expiry = time100ns - kExpiry100ns;
  while (!pictures_.empty() && pictures_.front()->GetStop() < expiry) pictures_.pop_front();

  const ISubPicProvider::Probe probe = provider_->ProbeAt(time100ns);
  if (!probe.Showing) return nullptr;
  for (const auto& picture : pictures_) {
    if (picture->GetStart() <= time100ns && time100ns < picture->GetStop() &&
        picture->GetContentSerial() == probe.ContentSerial)
      return picture;
  }
  if (haveEmpty_ && emptySerial_ == probe.ContentSerial && emptyWindow_.Contains(time100ns))
    return nullptr;
  return RenderPicture(time100ns);
}

std::shared_ptr<CMemSubPic> CSubPicQueue::RenderPicture(int64_t time100ns) {
  std::shared_ptr<CMemSubPic> picture = allocator_->AllocDynamic();
  if (!picture) return nullptr;
  SubPicDesc desc;
  if (!picture->Lock(&desc)) return nullptr;
  // The memory comes zeroed from the allocator.
  SubPicRect bbox = SubPicRect::Inverted();
  SubPicWindow window;
  uint64_t serial = 0;
  const bool drawn = provider_->Render(desc, time100ns, &bbox, &window, &serial);
  if (!drawn) {
    picture->Unlock(nullptr);
    haveEmpty_ = true;
    emptyWindow_ = window;
    emptySerial_ = serial;
    return nullptr;
  }
  haveEmpty_ = false;
  picture->Unlock(&bbox);
  picture->SetStart(window.Start);
  picture->SetStop(window.Stop);
  picture->SetContentSerial(serial);

  // A picture of the same moment that no longer matches will never be used
  // again; it goes now rather than crowding out the ones that may.
  std::erase_if(pictures_, [&](const std::shared_ptr<CMemSubPic>& old) {
    return old->GetStart() <= time100ns && time100ns < old->GetStop();
  });
  while (static_cast<int>(pictures_.size()) >= capacity_) pictures_.pop_front();
  pictures_.push_back(picture);
  return picture;
}

void CSubPicQueue::Invalidate(int64_t time100ns) {
  std::lock_guard lock(mutex_);
  if (time100ns < 0) {
    ClearQueue();
    return;
  }
  std::erase_if(pictures_, [&](const std::shared_ptr<CMemSubPic>& picture) {
    return picture->GetStart() >= time100ns;
  });
  haveEmpty_ = false;
}

void CSubPicQueue::ClearQueue() {
  std::lock_guard lock(mutex_);
  pictures_.clear();
  haveEmpty_ = false;
}

int CSubPicQueue::GetQueueCount() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(pictures_.size());
}

}  // namespace zelvaro
