#pragma once
// What a graph really decodes with, as GraphManager::GetDecoderInfo reads it
// back after a build. A plain value; a closed graph gives empty strings,
// zeros and frameRate 0.

#include <QString>

namespace zelvaro {

struct DecoderInfo {
  QString videoCodec;    // "H264", "HEVC", else a FourCC-like name in capitals; empty: no video
  QString videoDecoder;  // factory name of the decoder element ("avdec_h264", "vah264dec")
  bool isHardwareDecoder = false;
  QString audioCodec;  // "AAC", "MP3", "OPUS", ... in capitals
  int audioChannels = 0;
  int audioSampleRate = 0;
  double frameRate = 0.0;
};

}  // namespace zelvaro
