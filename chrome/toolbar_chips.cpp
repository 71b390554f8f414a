#include "chrome/toolbar_chips.h"

#include "chrome/chrome_palette.h"

#include <cmath>

namespace zelvaro::chrome {
namespace {

bool NormalSpeed(double speed) {
  return std::fabs(speed - 1.0) < 0.01;
}

}  // namespace

QString SpeedChipText(double speed) {
  if (NormalSpeed(speed)) return QStringLiteral("1x");
  return QString::asprintf("%.2fx", speed);
}

QString ChannelsChipText(int channels) {
  switch (channels) {
    case 1:
      return QStringLiteral("1.0");
    case 2:
      return QStringLiteral("2.0");
    case 6:
      return QStringLiteral("5.1");
    case 8:
      return QStringLiteral("7.1");
    default:
      return QString::number(channels) + QStringLiteral("ch");
  }
}

std::vector<ToolbarChip> ToolbarChips(const ToolbarState& state) {
  std::vector<ToolbarChip> chips;
  if (state.VideoText.isEmpty() && state.AudioText.isEmpty()) return chips;
  chips.push_back({ChipKind::Speed, SpeedChipText(state.Speed),
                   NormalSpeed(state.Speed) ? kChipSpeedNormal : kChipSpeedChanged});
  if (state.HardwareDecoding) {
    chips.push_back({ChipKind::Decoder, QStringLiteral("H/W"), kChipHardware});
  } else {
    chips.push_back({ChipKind::Decoder, QStringLiteral("S/W"), kChipSoftware});
  }
  if (!state.VideoText.isEmpty()) chips.push_back({ChipKind::Video, state.VideoText, kChipVideo});
  if (!state.AudioText.isEmpty()) chips.push_back({ChipKind::Audio, state.AudioText, kChipAudio});
  if (state.AudioChannels >= 1) {
    chips.push_back({ChipKind::Channels, ChannelsChipText(state.AudioChannels), kChipChannels});
  }
  return chips;
}

}  // namespace zelvaro::chrome
