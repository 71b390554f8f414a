#pragma once
// The small information chips in the toolbar's lower row (speed, decoder,
// video, audio, channels): their texts and colours from the toolbar's state.
// Pure; any thread.

#include "chrome/toolbar_state.h"

#include <QColor>
#include <QString>

#include <vector>

namespace zelvaro::chrome {

enum class ChipKind { Speed, Decoder, Video, Audio, Channels };

struct ToolbarChip {
  ChipKind Kind;
  QString Text;
  QColor Colour;
};

// Left to right; none when there is neither a video nor an audio text.
std::vector<ToolbarChip> ToolbarChips(const ToolbarState& state);

// "1x" within 0.01 of normal speed, otherwise "%.2fx".
QString SpeedChipText(double speed);
// "1.0", "2.0", "5.1", "7.1", else the count and "ch".
QString ChannelsChipText(int channels);

}  // namespace zelvaro::chrome
