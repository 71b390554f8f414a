#pragma once
// ToolbarState: what the main window tells the toolbar to show. A plain
// value; the toolbar keeps one and compares each new one with it to repaint
// only what changed. Interface thread only.

#include <QString>

namespace zelvaro::chrome {

struct ToolbarState {
  int Volume = 100;  // 0..100
  bool Muted = false;
  bool SubtitleEnabled = true;
  bool SubtitlePresent = false;
  bool Fullscreen = false;  // no tooltips and no window drag
  bool IsLive = false;      // no fixed length: no thumb
  bool IsPlaying = false;
  double Position = 0;  // seconds
  double Duration = 0;  // seconds
  double Progress = 0;  // 0..1, the thumb
  double MarkA = 0;     // 0..1, 0 when unset
  double MarkB = 0;
  QString VideoText;
  QString AudioText;
  bool HardwareDecoding = false;
  int AudioChannels = 0;
  double Speed = 1.0;
  bool HasVideo = false;  // shows the rotate and flip buttons
};

}  // namespace zelvaro::chrome
