#pragma once
// Which video decoder a graph gets: the hardware decoding modes (LAV_HWAccel
// values keep their numbers), their fall-back chain, the resolution override,
// the software choice, and the names GetDecoderInfo reports.
//
// Modes and what stands for them here:
//   0 None        software (avdec_* first)
//   1 CUDA        NVDEC (nvcodec: nvh264dec, ...)
//   2 QuickSync   VA-API, `va` plugin first, then gstreamer-vaapi
//   3 DXVA2       VA-API, gstreamer-vaapi first, then `va`
//   4 DXVA2Native VA-API, `va` first
//   5 D3D11       the best VA-API decoder present, `va` first (the default)
//
// Everything here is a pure function of its arguments except
// ProbeDecoderFactory, which creates the element and opens its device. Safe
// from any thread.

#include <gst/gst.h>

#include <QString>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/decoder_settings.h"

namespace zelvaro {

inline constexpr int kHwAccelNone = 0;
inline constexpr int kHwAccelCuda = 1;
inline constexpr int kHwAccelQuickSync = 2;
inline constexpr int kHwAccelDxva2 = 3;
inline constexpr int kHwAccelDxva2Native = 4;
inline constexpr int kHwAccelD3D11 = 5;
inline constexpr int kHwAccelDefault = kHwAccelD3D11;

// "None", "CUDA", "QuickSync", "DXVA2", "DXVA2Native", "D3D11", else "Unknown".
const char* HwAccelName(int hwAccel);

enum class VideoCodec { H264, HEVC, VP9, AV1, VP8, MPEG2, VC1, Other };
VideoCodec VideoCodecFromCaps(const GstCaps* caps);

// "H264", "HEVC", else a FourCC-like name in capitals ("VP90", "MP4V");
// empty for empty caps.
QString VideoCodecName(const GstCaps* caps);
// "AAC", "MP3", "OPUS", "AC3", ... in capitals; empty for empty caps.
QString AudioCodecName(const GstCaps* caps);

// Pictures wider than 3840 or higher than 2160 always ask for mode 5,
// whatever the user chose: software decoding cannot keep up with them.
int HwAccelForVideoSize(int hwAccel, int width, int height);

// The modes tried in order for a wanted mode, ending in 0: 1 → 1, 5, 3, 0;
// 5 → 5, 3, 0; any other hardware mode → itself, 0; 0 → 0.
std::vector<int> HwAccelFallbackOrder(int wanted);

// Decoder factories that stand for `hwAccel` for `codec`, best first; empty
// for mode 0 and for codecs without a hardware decoder family.
std::vector<std::string> HardwareDecoderFactories(int hwAccel, VideoCodec codec);

// Whether a factory is installed and its element opens its device (it reaches
// READY). The answer is kept for the life of the process.
bool ProbeDecoderFactory(const std::string& factory);
using DecoderProbe = std::function<bool(const std::string& factory)>;

// Whether a decoder factory's input takes every one of `caps` (profile, bit
// depth, chroma, as the splitter states them). A hardware decoder lists
// what its device can decode there.
bool FactoryAcceptsCaps(const std::string& factory, const GstCaps* caps);

// Non-zero when `hwAccel` can decode `codec` on this machine; the factory
// that can is stored in `factory`.
int CheckHWAccelSupport(int hwAccel, VideoCodec codec, const DecoderProbe& probe,
                        std::string* factory);

struct VideoDecoderChoice {
  int hwAccel = kHwAccelNone;  // the mode that stood after the walk down
  std::string factory;         // empty: a software decoder found by caps
};

// The policy for one open: check the wanted mode, walk down its fall-back
// chain, then decode in software when the codec's switch is off or the
// resolution class is not among LAV_HWResFlags.
VideoDecoderChoice ChooseVideoDecoder(int wanted, VideoCodec codec, int width, int height,
                                      const VideoDecoderSettings& settings,
                                      const DecoderProbe& probe);

// The best software decoder that accepts `caps` (avdec_* first for video),
// never a hardware one; empty when none is installed.
std::string FindSoftwareDecoder(const GstCaps* caps);

// Worker threads for a software video decoder: LAV_NumThreads when it is set
// (not 0). Otherwise one for the light codecs (H.264, MPEG-2, VP8) up to
// 1080p at 30 frames a second, which one core decodes several times faster
// than they play: every further thread only adds hand-overs and wake-ups
// per frame. (An exact seek, which decodes its way from a keyframe, stays
// quick on one thread because the frames nothing refers to are skipped on
// the way; see lead_in_skip.h.) 0, the decoder's own choice of one per
// core, for anything heavier.
int SoftwareDecoderThreads(uint32_t configured, VideoCodec codec, int width, int height,
                           double framesPerSecond);

// The hardware test on a decoder's name: the words of the Windows decoders
// anywhere ("dxva", "d3d11", "cuda", "nvdec", "qsv"), and the Linux families
// "va", "vaapi", "nv" as the start of the name (software decoders such as
// avdec_twinvq hold "nv" in the middle). Case-sensitive.
bool IsHardwareDecoderName(std::string_view name);

}  // namespace zelvaro
