#include "engine/bitmap_subtitle_decoder.h"

#include "foundation/trace.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

#include <cstring>

namespace zelvaro {
namespace {

AVCodecID CodecIdOf(EmbeddedSubtitleCodec codec) {
  switch (codec) {
    case EmbeddedSubtitleCodec::kPgs:
      return AV_CODEC_ID_HDMV_PGS_SUBTITLE;
    case EmbeddedSubtitleCodec::kDvd:
      return AV_CODEC_ID_DVD_SUBTITLE;
    case EmbeddedSubtitleCodec::kDvb:
      return AV_CODEC_ID_DVB_SUBTITLE;
    default:
      return AV_CODEC_ID_NONE;
  }
}

// Streams that do not say their canvas are standard definition; NTSC DVDs
// are the only ones below 576 lines.
QSize CanvasOf(const AVCodecContext* context, const AVSubtitle& subtitle) {
  if (context->width > 0 && context->height > 0) return {context->width, context->height};
  int bottom = 0;
  for (unsigned i = 0; i < subtitle.num_rects; ++i)
    bottom = std::max(bottom, subtitle.rects[i]->y + subtitle.rects[i]->h);
  return {720, bottom <= 480 && context->codec_id == AV_CODEC_ID_DVD_SUBTITLE ? 480 : 576};
}

BitmapSubtitlePart PartOf(const AVSubtitleRect& rect) {
  BitmapSubtitlePart part;
  if (rect.type != SUBTITLE_BITMAP || rect.w <= 0 || rect.h <= 0 || rect.data[0] == nullptr ||
      rect.data[1] == nullptr)
    return part;
  QImage image(rect.w, rect.h, QImage::Format_Indexed8);
  if (image.isNull()) return part;
  QList<QRgb> colours(256, 0);
  const auto* palette = reinterpret_cast<const uint32_t*>(rect.data[1]);
  for (int i = 0; i < std::min(rect.nb_colors, 256); ++i) colours[i] = palette[i];
  image.setColorTable(colours);
  for (int y = 0; y < rect.h; ++y)
    std::memcpy(image.scanLine(y), rect.data[0] + static_cast<ptrdiff_t>(y) * rect.linesize[0],
                static_cast<size_t>(rect.w));
  part.canvasRect = QRect(rect.x, rect.y, rect.w, rect.h);
  part.image = std::move(image);
  return part;
}

}  // namespace

std::unique_ptr<BitmapSubtitleDecoder> BitmapSubtitleDecoder::Create(EmbeddedSubtitleCodec codec,
                                                                     const QByteArray& header) {
  const AVCodec* decoder = avcodec_find_decoder(CodecIdOf(codec));
  if (decoder == nullptr) return nullptr;
  AVCodecContext* context = avcodec_alloc_context3(decoder);
  if (context == nullptr) return nullptr;
  if (!header.isEmpty()) {
    context->extradata = static_cast<uint8_t*>(
        av_mallocz(static_cast<size_t>(header.size()) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (context->extradata != nullptr) {
      std::memcpy(context->extradata, header.constData(), static_cast<size_t>(header.size()));
      context->extradata_size = static_cast<int>(header.size());
    }
  }
  context->pkt_timebase = AVRational{1, 10'000'000};
  if (avcodec_open2(context, decoder, nullptr) < 0) {
    avcodec_free_context(&context);
    return nullptr;
  }
  return std::unique_ptr<BitmapSubtitleDecoder>(new BitmapSubtitleDecoder(context));
}

BitmapSubtitleDecoder::~BitmapSubtitleDecoder() {
  avcodec_free_context(&context_);
}

std::optional<BitmapSubtitleCue> BitmapSubtitleDecoder::Decode(
    const EmbeddedSubtitleSample& sample) {
  if (sample.data.isEmpty()) return std::nullopt;
  // The decoders read a little past the end.
  QByteArray padded = sample.data;
  padded.append(QByteArray(AV_INPUT_BUFFER_PADDING_SIZE, '\0'));
  AVPacket* packet = av_packet_alloc();
  if (packet == nullptr) return std::nullopt;
  packet->data = reinterpret_cast<uint8_t*>(padded.data());
  packet->size = static_cast<int>(sample.data.size());
  packet->pts = sample.start100ns;
  if (sample.duration100ns >= 0) packet->duration = sample.duration100ns;

  AVSubtitle subtitle{};
  int got = 0;
  const int used = avcodec_decode_subtitle2(context_, &subtitle, &got, packet);
  av_packet_free(&packet);
  if (used < 0 || got == 0) return std::nullopt;

  BitmapSubtitleCue cue;
  const int64_t sampleMs = sample.start100ns / 10'000;
  cue.startMs = sampleMs + subtitle.start_display_time;
  // PGS gives no end (the next display set ends a cue); DVD and DVB may.
  if (subtitle.end_display_time != UINT32_MAX &&
      subtitle.end_display_time > subtitle.start_display_time) {
    cue.endMs = sampleMs + subtitle.end_display_time;
  } else if (sample.duration100ns > 0 && subtitle.num_rects > 0) {
    cue.endMs = sampleMs + sample.duration100ns / 10'000;
  }
  cue.canvas = CanvasOf(context_, subtitle);
  for (unsigned i = 0; i < subtitle.num_rects; ++i) {
    BitmapSubtitlePart part = PartOf(*subtitle.rects[i]);
    if (!part.image.isNull()) cue.parts.push_back(std::move(part));
  }
  avsubtitle_free(&subtitle);
  ZELVARO_TRACE_FIRST(10, "Picture subtitle at %lld ms: %zu parts on %dx%d",
                      static_cast<long long>(cue.startMs), cue.parts.size(), cue.canvas.width(),
                      cue.canvas.height());
  return cue;
}

BitmapSubtitleWorker::BitmapSubtitleWorker(std::unique_ptr<BitmapSubtitleDecoder> decoder,
                                           Sink sink)
    : decoder_(std::move(decoder)), sink_(std::move(sink)), thread_([this] { Run(); }) {}

BitmapSubtitleWorker::~BitmapSubtitleWorker() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    queued_.clear();
  }
  wake_.notify_one();
  thread_.join();
}

void BitmapSubtitleWorker::Queue(const EmbeddedSubtitleSample& sample) {
  {
    std::lock_guard lock(mutex_);
    queued_.push_back(sample);
  }
  wake_.notify_one();
}

void BitmapSubtitleWorker::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopping_ || !queued_.empty(); });
    if (stopping_) return;
    const EmbeddedSubtitleSample sample = std::move(queued_.front());
    queued_.pop_front();
    lock.unlock();
    if (std::optional<BitmapSubtitleCue> cue = decoder_->Decode(sample)) sink_(std::move(*cue));
    lock.lock();
  }
}

}  // namespace zelvaro
