#include "subtitles/subtitle_style.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <cmath>

namespace zelvaro {

namespace {

void ReadInt(QStringView name, int32_t* value) {
  uint32_t stored = 0;
  if (Settings::GetDword(name, &stored)) *value = static_cast<int32_t>(stored);
}

void ReadBool(QStringView name, bool* value) {
  uint32_t stored = 0;
  if (Settings::GetDword(name, &stored)) *value = stored != 0;
}

void ReadTenths(QStringView name, double* value) {
  uint32_t stored = 0;
  if (Settings::GetDword(name, &stored)) *value = static_cast<double>(stored) / 10.0;
}

uint32_t ToTenths(double value) {
  return static_cast<uint32_t>(std::lround(value * 10.0));
}

}  // namespace

void LoadSubtitleStyle(SubtitleStyle* style) {
  if (style == nullptr) return;
  Settings::GetString(setting::kSubFontName, &style->FontName);
  ReadInt(setting::kSubFontSize, &style->FontSize);
  ReadTenths(setting::kSubOutline, &style->Outline);
  ReadTenths(setting::kSubShadow, &style->Shadow);
  ReadBool(setting::kSubBold, &style->Bold);
  ReadBool(setting::kSubItalic, &style->Italic);
  Settings::GetDword(setting::kSubPrimaryColor, &style->PrimaryColor);
  Settings::GetDword(setting::kSubOutlineColor, &style->OutlineColor);
  Settings::GetDword(setting::kSubShadowColor, &style->ShadowColor);
  ReadInt(setting::kSubMarginBottom, &style->MarginBottom);
  ReadInt(setting::kSubAlignment, &style->Alignment);
}

void SaveSubtitleStyle(const SubtitleStyle& style) {
  Settings::SetString(setting::kSubFontName, style.FontName);
  Settings::SetDword(setting::kSubFontSize, static_cast<uint32_t>(style.FontSize));
  Settings::SetDword(setting::kSubOutline, ToTenths(style.Outline));
  Settings::SetDword(setting::kSubShadow, ToTenths(style.Shadow));
  Settings::SetDword(setting::kSubBold, style.Bold ? 1 : 0);
  Settings::SetDword(setting::kSubItalic, style.Italic ? 1 : 0);
  Settings::SetDword(setting::kSubPrimaryColor, style.PrimaryColor);
  Settings::SetDword(setting::kSubOutlineColor, style.OutlineColor);
  Settings::SetDword(setting::kSubShadowColor, style.ShadowColor);
  Settings::SetDword(setting::kSubMarginBottom, static_cast<uint32_t>(style.MarginBottom));
  Settings::SetDword(setting::kSubAlignment, static_cast<uint32_t>(style.Alignment));
}

}  // namespace zelvaro
