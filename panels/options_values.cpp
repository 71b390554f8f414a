#include "panels/options_values.h"

#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

namespace zelvaro::options {
namespace {

constexpr StoredDword kGeneralStored[] = {
    {setting::kKeyframeSeek, 1},
    {setting::kPlaylistRestoreOnStartup, 1},
    {setting::kPlaylistHeightSync, 1},
    {setting::kResumePlayback, 1},
    {setting::kAudioNormalize, 0},
    {setting::kAudioNormalizeRecover, 1},
    {setting::kAudioMaxNormFactor, 200},
    {setting::kAudioBoost, 0},
};

QString FactorText(double factor) {
  return QString::asprintf("%.1fx", factor);
}

}  // namespace

std::span<const StoredDword> GeneralStoredValues() {
  return kGeneralStored;
}

DwordValues ReadDwords(std::span<const StoredDword> values) {
  DwordValues read;
  for (const StoredDword& value : values) {
    read[value.name.toString()] = Settings::GetDwordOr(value.name, value.defaultValue);
  }
  return read;
}

std::vector<QString> WriteChangedDwords(const DwordValues& loaded, const DwordValues& edited) {
  std::vector<QString> written;
  for (const auto& [name, value] : edited) {
    const auto before = loaded.find(name);
    if (before != loaded.end() && before->second == value) continue;
    if (Settings::SetDword(name, value)) written.push_back(name);
  }
  return written;
}

QString MaxNormFactorText(int position) {
  return FactorText(position / 100.0);
}

QString BoostText(int position) {
  if (position == 0) return LanguageManager::GetString(u"GeneralOptions.AudioBoostNone");
  return FactorText(position / 100.0 + 1.0);
}

}  // namespace zelvaro::options
