#pragma once
// The control panel's arithmetic and texts, apart from any window: speed
// steps, picture slider mapping, the labels beside the sliders, the A-B edit
// texts, the stored tab. Pure functions, callable from any thread.

#include <QString>

#include <cstdint>

namespace zelvaro::panels {

inline constexpr double kPanelMinSpeed = 0.1;
inline constexpr double kPanelMaxSpeed = 4.0;
inline constexpr int kPictureSliderCentre = 100;
inline constexpr int kSubtitleMarginStep = 5;
inline constexpr int64_t kSubtitleDelayStepMs = 500;

// "-" and "+": one tenth down or up, held to 0.1..4.0, then rounded to tenths
// (1.27 and "+" is 1.4).
double SpeedStepDown(double speed);
double SpeedStepUp(double speed);

enum class PictureKind { Brightness, Contrast, Saturation, Hue };
// A picture slider's position (0..200) as the engine's value: position − 100,
// held to ±100 (hue ±180, which the slider cannot reach).
int PictureValue(PictureKind kind, int position);
int PictureSliderPosition(int value);

QString VolumeLabel(int position);                      // "57%"
QString FactorLabel(int position);                      // "2.0x" of position ÷ 100
QString BoostLabel(int position, const QString& none);  // `none` at 0, else 1 + p ÷ 100
QString SpeedLabel(double speed);                       // "1.3x"
QString DelayLabel(int64_t delayMs);                    // "-0.5s"
QString PictureLabel(int value);                        // "-12"
// "Name, 24pt"; a size below 1 is the 24 the script then uses.
QString FontLabel(const QString& name, int size);

// "hh:mm:ss" of whole hours, minutes and seconds; "--:--:--" when negative.
QString MarkTime(int64_t time100ns);
// The A edit shows A from 1 up; the B edit shows B only behind a set A.
QString MarkAText(int64_t markA);
QString MarkBText(int64_t markA, int64_t markB);

// A stored tab of 4 or more reads as 0.
int StoredTab(uint32_t value);

// ▲ raises the subtitles, ▼ lowers them, never below the picture's edge.
int MarginUp(int marginBottom);
int MarginDown(int marginBottom);

}  // namespace zelvaro::panels
