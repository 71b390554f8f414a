#pragma once
// The user's look for converted subtitles (SRT, WebVTT, SAMI): it is baked
// into the ASS script that those formats are turned into, so a change takes
// effect when the file is read again. ASS and SSA files keep their own styles.
// Plain value type; the settings functions are thread-safe like Settings.

#include <QString>

#include <cstdint>

namespace zelvaro {

struct SubtitleStyle {
  // On Linux this face is usually absent; libass and the cue painter fall
  // back to kSubtitleFallbackFamily, and fontconfig to a face that covers
  // each character.
  QString FontName = QStringLiteral("Malgun Gothic");
  int32_t FontSize = 0;  // below 1: the script uses 24
  double Outline = 2.5;  // in pixels of a 1080-line picture
  double Shadow = 1.5;
  bool Bold = true;
  bool Italic = false;
  // 0xAARRGGBB with ASS transparency in AA (0 is opaque).
  uint32_t PrimaryColor = 0x00FFFFFF;
  uint32_t OutlineColor = 0x00000000;
  uint32_t ShadowColor = 0x80000000;
  int32_t MarginBottom = 25;  // in pixels of a 1080-line picture
  int32_t Alignment = 2;      // numpad position, as in ASS

  bool operator==(const SubtitleStyle&) const = default;
};

// The family used when the style's face (or a script's) is not installed:
// fontconfig's alias, whose rules choose the face.
inline constexpr char kSubtitleFallbackFamily[] = "sans-serif";

// Reads the eleven Sub* settings into `style`; a value that is absent keeps
// what `style` held. Outline and shadow are stored times ten.
void LoadSubtitleStyle(SubtitleStyle* style);
void SaveSubtitleStyle(const SubtitleStyle& style);

}  // namespace zelvaro
