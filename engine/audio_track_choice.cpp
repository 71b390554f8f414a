#include "engine/audio_track_choice.h"

#include "foundation/c_handle.h"
#include "foundation/text_conversion.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <QLocale>
#include <QStringList>

namespace zelvaro {
namespace {

void CloseInput(AVFormatContext* context) {
  avformat_close_input(&context);
}
using FormatContextHandle = CHandle<AVFormatContext, CloseInput>;

}  // namespace

std::vector<AudioTrackFacts> ReadAudioTrackFacts(const QString& path) {
  std::vector<AudioTrackFacts> tracks;
  std::string utf8 = WideToUtf8(path);
  AVFormatContext* raw = nullptr;
  if (avformat_open_input(&raw, utf8.c_str(), nullptr, nullptr) < 0) return tracks;
  FormatContextHandle context{raw};
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const AVStream* stream = context->streams[i];
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    AudioTrackFacts facts;
    if (const AVDictionaryEntry* entry = av_dict_get(stream->metadata, "language", nullptr, 0)) {
      facts.language = QString::fromUtf8(entry->value);
    }
    facts.isDefault = (stream->disposition & AV_DISPOSITION_DEFAULT) != 0;
    tracks.push_back(facts);
  }
  return tracks;
}

bool SameLanguage(const QString& a, const QString& b) {
  QString left = a.trimmed().toLower();
  QString right = b.trimmed().toLower();
  if (left.isEmpty() || right.isEmpty()) return false;
  if (left == right) return true;
  QLocale::Language leftLanguage = QLocale::codeToLanguage(left);
  return leftLanguage != QLocale::AnyLanguage && leftLanguage == QLocale::codeToLanguage(right);
}

int ChooseAudioTrack(const std::vector<AudioTrackFacts>& tracks,
                     const QString& preferredLanguages) {
  if (tracks.empty()) return -1;
  for (const QString& wanted : preferredLanguages.split(u',', Qt::SkipEmptyParts)) {
    for (size_t i = 0; i < tracks.size(); ++i) {
      if (SameLanguage(tracks[i].language, wanted)) return static_cast<int>(i);
    }
  }
  for (size_t i = 0; i < tracks.size(); ++i) {
    if (tracks[i].isDefault) return static_cast<int>(i);
  }
  return 0;
}

}  // namespace zelvaro
