#include "subtitles/ass_script.h"

#include "foundation/text_conversion.h"

#include <charconv>
#include <cstdio>

namespace zelvaro {

namespace {

// The style values are thought of in pixels of a 1080-line picture; the
// script space has 288 lines.
constexpr double kScriptScale = 288.0 / 1080.0;

// Six significant digits like a default-formatted stream, and never the
// locale's decimal comma: Qt sets the process locale from the environment.
std::string FormatDouble(double value) {
  char buffer[64];
  auto result =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general, 6);
  return std::string(buffer, result.ptr);
}

}  // namespace

std::string FormatAssTime(int64_t timeMs) {
  char buffer[64];
  std::snprintf(
      buffer, sizeof(buffer), "%lld:%02lld:%02lld.%02lld", static_cast<long long>(timeMs / 3600000),
      static_cast<long long>((timeMs / 60000) % 60), static_cast<long long>((timeMs / 1000) % 60),
      static_cast<long long>((timeMs % 1000) / 10));
  return buffer;
}

std::string FormatAssColour(uint32_t argb) {
  char buffer[16];
  std::snprintf(buffer, sizeof(buffer), "&H%02X%02X%02X%02X", (argb >> 24) & 0xFF, argb & 0xFF,
                (argb >> 8) & 0xFF, (argb >> 16) & 0xFF);
  return buffer;
}

void AppendAssHeader(const SubtitleStyle& style, std::string* script) {
  const int fontSize = style.FontSize < 1 ? 24 : style.FontSize;
  const int marginV = static_cast<int>(style.MarginBottom * kScriptScale);
  script->append(
      "[Script Info]\n"
      "ScriptType: v4.00+\n"
      "WrapStyle: 0\n"
      "ScaledBorderAndShadow: yes\n"
      "PlayResX: 384\n"
      "PlayResY: 288\n"
      "\n"
      "[V4+ Styles]\n"
      "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, "
      "BackColour, Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, "
      "BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, MarginV, Encoding\n"
      "Style: Default,");
  script->append(WideToUtf8(style.FontName));
  script->append(",").append(std::to_string(fontSize));
  script->append(",").append(FormatAssColour(style.PrimaryColor));
  script->append(",&H000000FF,").append(FormatAssColour(style.OutlineColor));
  script->append(",").append(FormatAssColour(style.ShadowColor));
  script->append(style.Bold ? ",-1" : ",0");
  script->append(style.Italic ? ",-1" : ",0");
  script->append(",0,0,100,100,0,0,1,");
  script->append(FormatDouble(style.Outline * kScriptScale));
  script->append(",").append(FormatDouble(style.Shadow * kScriptScale));
  script->append(",").append(std::to_string(style.Alignment));
  script->append(",5,5,").append(std::to_string(marginV));
  script->append(
      ",1\n"
      "\n"
      "[Events]\n"
      "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n");
}

void AppendAssDialogue(int64_t startMs, int64_t endMs, std::string_view text, std::string* script) {
  script->append("Dialogue: 0,").append(FormatAssTime(startMs));
  script->append(",").append(FormatAssTime(endMs));
  script->append(",Default,,0,0,0,,").append(text).append("\n");
}

}  // namespace zelvaro
