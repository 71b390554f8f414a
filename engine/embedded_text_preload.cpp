#include "engine/embedded_text_preload.h"

#include "foundation/trace.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <QFile>

#include <string_view>

namespace zelvaro {
namespace {

struct InputCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using InputHandle = std::unique_ptr<AVFormatContext, InputCloser>;

struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

constexpr AVRational k100ns{1, 10'000'000};

}  // namespace

int EmbeddedTextPreload::Interrupted(void* self) {
  return static_cast<EmbeddedTextPreload*>(self)->stop_ ? 1 : 0;
}

std::unique_ptr<EmbeddedTextPreload> EmbeddedTextPreload::Start(const QString& path,
                                                                int subtitleIndex, Sink sink) {
  std::unique_ptr<EmbeddedTextPreload> preload(new EmbeddedTextPreload);
  EmbeddedTextPreload* self = preload.get();
  preload->thread_ = std::thread([self, path, subtitleIndex, sink = std::move(sink)] {
    self->Run(path, subtitleIndex, sink);
  });
  return preload;
}

void EmbeddedTextPreload::Run(const QString& path, int subtitleIndex, const Sink& sink) {
  AVFormatContext* raw = avformat_alloc_context();
  if (raw == nullptr) return;
  raw->interrupt_callback = {&EmbeddedTextPreload::Interrupted, this};
  const QByteArray url = QByteArrayLiteral("file:") + QFile::encodeName(path);
  if (avformat_open_input(&raw, url.constData(), nullptr, nullptr) < 0) return;
  InputHandle input(raw);
  if (std::string_view(input->iformat->name).find("matroska") == std::string_view::npos) return;
  // The tracks are known from the headers; the other tracks' data is skipped.
  int stream = -1;
  for (unsigned i = 0, seen = 0; i < input->nb_streams; ++i) {
    const bool subtitle = input->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
    input->streams[i]->discard = AVDISCARD_ALL;
    if (subtitle && static_cast<int>(seen++) == subtitleIndex) stream = static_cast<int>(i);
  }
  if (stream < 0) return;
  input->streams[stream]->discard = AVDISCARD_DEFAULT;

  std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
  const AVRational timeBase = input->streams[stream]->time_base;
  int count = 0;
  while (packet && !stop_ && av_read_frame(input.get(), packet.get()) >= 0) {
    if (packet->stream_index == stream && packet->pts != AV_NOPTS_VALUE && packet->size > 0) {
      EmbeddedSubtitleSample sample;
      sample.start100ns = av_rescale_q(packet->pts, timeBase, k100ns);
      if (packet->duration > 0)
        sample.duration100ns = av_rescale_q(packet->duration, timeBase, k100ns);
      sample.data = QByteArray(reinterpret_cast<const char*>(packet->data), packet->size);
      sample.plainText = true;
      sink(sample);
      ++count;
    }
    av_packet_unref(packet.get());
  }
  Trace("Subtitle stream read ahead: %d samples%s", count, stop_ ? " (stopped)" : "");
  finished_ = !stop_;
}

EmbeddedTextPreload::~EmbeddedTextPreload() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
}

}  // namespace zelvaro
