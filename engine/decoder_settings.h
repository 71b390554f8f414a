#pragma once
// The stored values that configure demuxing and decoding for one build. Read
// on the interface thread before a build starts (never from a streaming
// thread), each with its default; a value of the wrong type reads as absent.
// Only LAV_DRCEnabled and LAV_DRCLevel are ever written by the program (audio
// control); the rest are for the user or an installer to place.

#include <QString>

#include <cstdint>
#include <optional>

namespace zelvaro {

struct VideoDecoderSettings {
  // Hardware decoding per codec: on unless the value exists and is 0.
  bool hwH264 = true;
  bool hwHEVC = true;
  bool hwVP9 = true;
  bool hwAV1 = true;
  uint32_t numThreads = 0;            // 0: the decoder chooses
  std::optional<uint32_t> deintMode;  // only when stored: 0 auto, 1 aggressive, 2 force, 3 off
  uint32_t hwResFlags = 7;            // resolution classes decoded in hardware: 1 SD, 2 HD, 4 UHD
  bool trayIcon = false;              // no tray icon exists here; read for the trace only
};

struct SplitterSettings {
  QString preferredLanguages = QStringLiteral("kor,eng,jpn");
  std::optional<QString> preferredSubLanguages;
  std::optional<uint32_t> subtitleMode;
};

struct AudioDecoderSettings {
  std::optional<bool> mixing;
  std::optional<uint32_t> mixingLayout;  // a channel mask, 0x3 stereo
  std::optional<bool> drcEnabled;
  uint32_t drcLevel = 100;  // read only when drcEnabled exists
  std::optional<bool> expandMono;
};

VideoDecoderSettings ReadVideoDecoderSettings();
SplitterSettings ReadSplitterSettings();
AudioDecoderSettings ReadAudioDecoderSettings();

}  // namespace zelvaro
