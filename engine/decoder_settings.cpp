#include "engine/decoder_settings.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"

namespace zelvaro {
namespace {

std::optional<uint32_t> ReadOptionalDword(QStringView name) {
  uint32_t value = 0;
  if (!Settings::GetDword(name, &value)) return std::nullopt;
  return value;
}

std::optional<bool> ReadOptionalFlag(QStringView name) {
  std::optional<uint32_t> value = ReadOptionalDword(name);
  if (!value) return std::nullopt;
  return *value != 0;
}

}  // namespace

VideoDecoderSettings ReadVideoDecoderSettings() {
  VideoDecoderSettings settings;
  settings.hwH264 = Settings::GetBoolOr(setting::kLavHwAccelH264, true);
  settings.hwHEVC = Settings::GetBoolOr(setting::kLavHwAccelHEVC, true);
  settings.hwVP9 = Settings::GetBoolOr(setting::kLavHwAccelVP9, true);
  settings.hwAV1 = Settings::GetBoolOr(setting::kLavHwAccelAV1, true);
  settings.numThreads = Settings::GetDwordOr(setting::kLavNumThreads, 0);
  settings.deintMode = ReadOptionalDword(setting::kLavDeintMode);
  settings.hwResFlags = Settings::GetDwordOr(setting::kLavHwResFlags, 7);
  settings.trayIcon = Settings::GetBoolOr(setting::kLavTrayIcon, false);
  Trace("HW Codec settings - H264=%d, HEVC=%d, VP9=%d, AV1=%d", settings.hwH264, settings.hwHEVC,
        settings.hwVP9, settings.hwAV1);
  return settings;
}

SplitterSettings ReadSplitterSettings() {
  SplitterSettings settings;
  Settings::GetString(setting::kLavPreferredLanguages, &settings.preferredLanguages);
  QString subLanguages;
  if (Settings::GetString(setting::kLavPreferredSubLanguages, &subLanguages)) {
    settings.preferredSubLanguages = subLanguages;
  }
  settings.subtitleMode = ReadOptionalDword(setting::kLavSubtitleMode);
  Trace("Preferred languages: %s", WideToUtf8(settings.preferredLanguages).c_str());
  return settings;
}

AudioDecoderSettings ReadAudioDecoderSettings() {
  AudioDecoderSettings settings;
  settings.mixing = ReadOptionalFlag(setting::kLavAudioMixing);
  settings.mixingLayout = ReadOptionalDword(setting::kLavMixingLayout);
  settings.drcEnabled = ReadOptionalFlag(setting::kLavDrcEnabled);
  if (settings.drcEnabled) settings.drcLevel = Settings::GetDwordOr(setting::kLavDrcLevel, 100);
  settings.expandMono = ReadOptionalFlag(setting::kLavExpandMono);
  return settings;
}

}  // namespace zelvaro
