#include "panels/control_panel_values.h"

#include <algorithm>
#include <cmath>

namespace zelvaro::panels {
namespace {

constexpr double kSpeedStep = 0.1;
constexpr int kPictureReach = 100;
constexpr int kHueReach = 180;
constexpr int kDefaultScriptFontSize = 24;
constexpr int64_t k100nsPerSecond = 10'000'000;

double RoundToTenths(double speed) {
  return std::round(speed * 10.0) / 10.0;
}

}  // namespace

double SpeedStepDown(double speed) {
  return RoundToTenths(std::max(speed - kSpeedStep, kPanelMinSpeed));
}

double SpeedStepUp(double speed) {
  return RoundToTenths(std::min(speed + kSpeedStep, kPanelMaxSpeed));
}

int PictureValue(PictureKind kind, int position) {
  const int reach = kind == PictureKind::Hue ? kHueReach : kPictureReach;
  return std::clamp(position - kPictureSliderCentre, -reach, reach);
}

int PictureSliderPosition(int value) {
  return std::clamp(value + kPictureSliderCentre, 0, 2 * kPictureSliderCentre);
}

QString VolumeLabel(int position) {
  return QString::asprintf("%d%%", position);
}

QString FactorLabel(int position) {
  return QString::asprintf("%.1fx", position / 100.0);
}

QString BoostLabel(int position, const QString& none) {
  if (position == 0) return none;
  return QString::asprintf("%.1fx", position / 100.0 + 1.0);
}

QString SpeedLabel(double speed) {
  return QString::asprintf("%.1fx", speed);
}

QString DelayLabel(int64_t delayMs) {
  return QString::asprintf("%.1fs", static_cast<double>(delayMs) / 1000.0);
}

QString PictureLabel(int value) {
  return QString::number(value);
}

QString FontLabel(const QString& name, int size) {
  return QStringLiteral("%1, %2pt").arg(name).arg(size < 1 ? kDefaultScriptFontSize : size);
}

QString MarkTime(int64_t time100ns) {
  if (time100ns < 0) return QStringLiteral("--:--:--");
  const int64_t seconds = time100ns / k100nsPerSecond;
  return QString::asprintf("%02d:%02d:%02d", static_cast<int>(seconds / 3600),
                           static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
}

QString MarkAText(int64_t markA) {
  return MarkTime(markA >= 1 ? markA : -1);
}

QString MarkBText(int64_t markA, int64_t markB) {
  return MarkTime(markA > 0 && markB > markA ? markB : -1);
}

int StoredTab(uint32_t value) {
  return value >= 4 ? 0 : static_cast<int>(value);
}

int MarginUp(int marginBottom) {
  return marginBottom + kSubtitleMarginStep;
}

int MarginDown(int marginBottom) {
  return std::max(marginBottom - kSubtitleMarginStep, 0);
}

}  // namespace zelvaro::panels
