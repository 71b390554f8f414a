#pragma once
// The names of every persistent value, spelled once. No other file writes a
// value name as a literal: use these constants with the functions of
// foundation/settings.h. Types and defaults belong to the readers; a reader
// presets its default and keeps it when the value is absent.

#include <QStringView>

namespace zelvaro::setting {

// Main window and panels.
inline constexpr QStringView kRememberWindowPos{u"RememberWindowPos"};
inline constexpr QStringView kWindowX{u"WindowX"};
inline constexpr QStringView kWindowY{u"WindowY"};
inline constexpr QStringView kWindowW{u"WindowW"};
inline constexpr QStringView kWindowH{u"WindowH"};
inline constexpr QStringView kWindowMaximized{u"WindowMaximized"};
inline constexpr QStringView kSeekbarThumbnailPreview{u"SeekbarThumbnailPreview"};
inline constexpr QStringView kGlobalMediaKeys{u"GlobalMediaKeys"};
inline constexpr QStringView kUnregisterOnDeactivate{u"UnregisterOnDeactivate"};
inline constexpr QStringView kWelcomeMsg{u"WelcomeMsg"};
inline constexpr QStringView kMagnetDistance{u"MagnetDistance"};
inline constexpr QStringView kPlaylistVisible{u"PlaylistVisible"};
inline constexpr QStringView kPlaylistX{u"PlaylistX"};
inline constexpr QStringView kPlaylistY{u"PlaylistY"};
inline constexpr QStringView kPlaylistW{u"PlaylistW"};
inline constexpr QStringView kPlaylistH{u"PlaylistH"};
inline constexpr QStringView kPlaylistSnapped{u"PlaylistSnapped"};
inline constexpr QStringView kPlaylistSnapSide{u"PlaylistSnapSide"};
inline constexpr QStringView kPlaylistHeightSync{u"PlaylistHeightSync"};
inline constexpr QStringView kResumePlayback{u"ResumePlayback"};
inline constexpr QStringView kPlaylistRestoreOnStartup{u"PlaylistRestoreOnStartup"};
inline constexpr QStringView kPlaylistPreventDuplicates{u"PlaylistPreventDuplicates"};
inline constexpr QStringView kControlPanelVisible{u"ControlPanelVisible"};
inline constexpr QStringView kControlPanelX{u"ControlPanelX"};
inline constexpr QStringView kControlPanelY{u"ControlPanelY"};
inline constexpr QStringView kControlPanelTab{u"ControlPanelTab"};
inline constexpr QStringView kLyricsVisible{u"LyricsVisible"};
inline constexpr QStringView kLyricsX{u"LyricsX"};
inline constexpr QStringView kLyricsY{u"LyricsY"};
inline constexpr QStringView kLyricsW{u"LyricsW"};
inline constexpr QStringView kLyricsH{u"LyricsH"};
// Base address of the lyrics service (LRCLIB); empty asks no service.
inline constexpr QStringView kLyricsEndpoint{u"LyricsEndpoint"};

// Playback.
inline constexpr QStringView kVolume{u"Volume"};
inline constexpr QStringView kMuted{u"Muted"};
inline constexpr QStringView kKeyframeSeek{u"KeyframeSeek"};
inline constexpr QStringView kAudioNormalize{u"AudioNormalize"};
inline constexpr QStringView kAudioNormalizeRecover{u"AudioNormalizeRecover"};
inline constexpr QStringView kAudioMaxNormFactor{u"AudioMaxNormFactor"};
inline constexpr QStringView kAudioBoost{u"AudioBoost"};
inline constexpr QStringView kEmbeddedSubtitleMethod{u"EmbeddedSubtitleMethod"};
inline constexpr QStringView kSubtitleEnabled{u"SubtitleEnabled"};
inline constexpr QStringView kScreenshotMethod{u"ScreenshotMethod"};
inline constexpr QStringView kScreenshotFormat{u"ScreenshotFormat"};

// Hardware decoding, demuxing and audio decoding.
inline constexpr QStringView kLavHwAccel{u"LAV_HWAccel"};
inline constexpr QStringView kHwAccelFallback{u"HWAccelFallback"};
inline constexpr QStringView kLavHwAccelH264{u"LAV_HWAccel_H264"};
inline constexpr QStringView kLavHwAccelHEVC{u"LAV_HWAccel_HEVC"};
inline constexpr QStringView kLavHwAccelVP9{u"LAV_HWAccel_VP9"};
inline constexpr QStringView kLavHwAccelAV1{u"LAV_HWAccel_AV1"};
inline constexpr QStringView kLavNumThreads{u"LAV_NumThreads"};
inline constexpr QStringView kLavDeintMode{u"LAV_DeintMode"};
inline constexpr QStringView kLavHwResFlags{u"LAV_HWResFlags"};
inline constexpr QStringView kLavTrayIcon{u"LAV_TrayIcon"};
inline constexpr QStringView kLavPreferredLanguages{u"LAV_PreferredLanguages"};
inline constexpr QStringView kLavPreferredSubLanguages{u"LAV_PreferredSubLanguages"};
inline constexpr QStringView kLavSubtitleMode{u"LAV_SubtitleMode"};
inline constexpr QStringView kLavAudioMixing{u"LAV_AudioMixing"};
inline constexpr QStringView kLavMixingLayout{u"LAV_MixingLayout"};
inline constexpr QStringView kLavExpandMono{u"LAV_ExpandMono"};
inline constexpr QStringView kLavDrcEnabled{u"LAV_DRCEnabled"};
inline constexpr QStringView kLavDrcLevel{u"LAV_DRCLevel"};

// Subtitle style, read and written as one group.
inline constexpr QStringView kSubFontName{u"SubFontName"};
inline constexpr QStringView kSubFontSize{u"SubFontSize"};
inline constexpr QStringView kSubOutline{u"SubOutline"};
inline constexpr QStringView kSubShadow{u"SubShadow"};
inline constexpr QStringView kSubBold{u"SubBold"};
inline constexpr QStringView kSubItalic{u"SubItalic"};
inline constexpr QStringView kSubPrimaryColor{u"SubPrimaryColor"};
inline constexpr QStringView kSubOutlineColor{u"SubOutlineColor"};
inline constexpr QStringView kSubShadowColor{u"SubShadowColor"};
inline constexpr QStringView kSubMarginBottom{u"SubMarginBottom"};
inline constexpr QStringView kSubAlignment{u"SubAlignment"};

// Foundation and updates.
inline constexpr QStringView kLanguage{u"Language"};
inline constexpr QStringView kInstallPath{u"InstallPath"};
inline constexpr QStringView kAppver{u"appver"};
// Base address of the update server; empty means no check is configured.
inline constexpr QStringView kUpdateEndpoint{u"UpdateEndpoint"};

// One value per side file the updater delivers: this prefix and the file name.
inline constexpr QStringView kFileVersionPrefix{u"filever_"};

}  // namespace zelvaro::setting
