#include "engine/keyframe_table.h"

#include "foundation/c_handle.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

namespace zelvaro {
namespace {

constexpr int64_t kHalfSecond100ns = 5'000'000;
constexpr AVRational k100ns{1, 10'000'000};
// Packets read at most to find the first video packet's reorder delay.
constexpr int kMaxPacketsForDelay = 500;

void CloseInput(AVFormatContext* context) {
  avformat_close_input(&context);
}
using FormatContextHandle = CHandle<AVFormatContext, CloseInput>;

void FreePacket(AVPacket* packet) {
  av_packet_free(&packet);
}
using PacketHandle = CHandle<AVPacket, FreePacket>;

int FirstVideoStream(const AVFormatContext* context) {
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const AVStream* stream = context->streams[i];
    // Cover art rides as a one-picture video stream; it has no index to read.
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
        (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

// Index times of MP4 and AVI are decoding times; with B-frames the first
// keyframe decodes before it shows (x264 with two B-frames: −0.08 s in the
// index, 0.00 on screen). Every keyframe of such a stream is shifted by the
// same reorder delay, read once from the first video packet. Matroska's cues
// already hold presentation times.
int64_t ReorderDelay(AVFormatContext* context, int videoStream) {
  if (std::strstr(context->iformat->name, "matroska") != nullptr) return 0;
  PacketHandle packet{av_packet_alloc()};
  if (!packet) return 0;
  for (int i = 0; i < kMaxPacketsForDelay; ++i) {
    if (av_read_frame(context, packet.get()) < 0) return 0;
    bool found = packet->stream_index == videoStream;
    int64_t delay = 0;
    if (found && packet->pts != AV_NOPTS_VALUE && packet->dts != AV_NOPTS_VALUE) {
      delay = std::max<int64_t>(0, packet->pts - packet->dts);
    }
    av_packet_unref(packet.get());
    if (found) return delay;
  }
  return 0;
}

}  // namespace

std::vector<int64_t> ReadKeyframeIndex(const QString& path) {
  // libavformat reports damaged files on standard error; that belongs in the
  // trace, not in every user's terminal.
  static std::once_flag quietLog;
  std::call_once(quietLog,
                 [] { av_log_set_level(TraceEnabled() ? AV_LOG_WARNING : AV_LOG_QUIET); });
  std::vector<int64_t> keyframes;
  std::string utf8 = WideToUtf8(path);
  AVFormatContext* raw = nullptr;
  if (avformat_open_input(&raw, utf8.c_str(), nullptr, nullptr) < 0) {
    Trace("No keyframes found (count=0, open failed)");
    return keyframes;
  }
  FormatContextHandle context{raw};
  int videoStream = FirstVideoStream(context.get());
  // A generic index is built from packets read so far: it would list the
  // first few keyframes of the file as if they were all of them.
  if (videoStream < 0 || (context->iformat->flags & AVFMT_GENERIC_INDEX) != 0) {
    Trace("No keyframes found (count=0, no index)");
    return keyframes;
  }
  AVStream* stream = context->streams[videoStream];
  int64_t delay = ReorderDelay(context.get(), videoStream);
  // Matroska loads its cues on the first seek, not when it opens.
  av_seek_frame(context.get(), videoStream, 0, AVSEEK_FLAG_BACKWARD);

  int count = avformat_index_get_entries_count(stream);
  keyframes.reserve(static_cast<size_t>(std::max(count, 0)));
  for (int i = 0; i < count; ++i) {
    const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
    if (entry == nullptr || (entry->flags & AVINDEX_KEYFRAME) == 0) continue;
    int64_t time100ns =
        av_rescale_q_rnd(entry->timestamp + delay, stream->time_base, k100ns, AV_ROUND_DOWN);
    keyframes.push_back(std::max<int64_t>(0, time100ns));
  }
  std::sort(keyframes.begin(), keyframes.end());
  keyframes.erase(std::unique(keyframes.begin(), keyframes.end()), keyframes.end());

  if (keyframes.empty()) {
    Trace("No keyframes found (count=%d, index without keyframes)", count);
    return keyframes;
  }
  Trace("Keyframes found: %zu", keyframes.size());
  std::string list;
  for (size_t i = 0; i < keyframes.size() && i < 20; ++i) {
    char item[32];
    std::snprintf(item, sizeof(item), "%s%.2f", i == 0 ? "" : ", ",
                  static_cast<double>(keyframes[i]) / 1e7);
    list += item;
  }
  if (keyframes.size() > 20) list += ", ...";
  Trace("Keyframe times: %s", list.c_str());
  return keyframes;
}

int64_t SnapToKeyframe(const std::vector<int64_t>& keyframes, int64_t target, int direction) {
  if (keyframes.empty()) return target;
  auto notBefore = std::lower_bound(keyframes.begin(), keyframes.end(), target);
  if (direction >= 1) return notBefore == keyframes.end() ? keyframes.back() : *notBefore;
  if (direction < 0) return notBefore == keyframes.begin() ? keyframes.front() : *(notBefore - 1);
  if (notBefore == keyframes.end()) return keyframes.back();
  if (notBefore == keyframes.begin()) return keyframes.front();
  int64_t after = *notBefore;
  int64_t before = *(notBefore - 1);
  return (after - target) < (target - before) ? after : before;
}

std::optional<int64_t> PreviousKeyframeTarget(const std::vector<int64_t>& keyframes,
                                              int64_t position) {
  auto notBefore =
      std::lower_bound(keyframes.begin(), keyframes.end(), position - kHalfSecond100ns);
  if (notBefore == keyframes.begin()) return std::nullopt;
  return *(notBefore - 1);
}

std::optional<int64_t> NextKeyframeTarget(const std::vector<int64_t>& keyframes, int64_t position) {
  auto after = std::upper_bound(keyframes.begin(), keyframes.end(), position + kHalfSecond100ns);
  if (after == keyframes.end()) return std::nullopt;
  return *after;
}

}  // namespace zelvaro
