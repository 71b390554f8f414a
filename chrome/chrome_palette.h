#pragma once
// The colours of the painted chrome (toolbar, seek bar, preview popup, title
// bar, tooltip, popup menus), in one place so a theme changes them here and nowhere else.
// Written as 0xRRGGBB, the way the chrome's design gives them.

#include <QColor>

#include <cstdint>

namespace zelvaro::chrome {

constexpr QColor Rgb(uint32_t rrggbb) {
  return QColor(static_cast<int>((rrggbb >> 16) & 0xFF), static_cast<int>((rrggbb >> 8) & 0xFF),
                static_cast<int>(rrggbb & 0xFF));
}

// Toolbar.
inline constexpr QColor kToolbarBackground = Rgb(0x181818);
inline constexpr QColor kRowSeparator = Rgb(0x000000);
inline constexpr QColor kTimeText = Rgb(0xC8C8C8);
inline constexpr QColor kChipBackground = Rgb(0x323232);
inline constexpr QColor kChipSpeedNormal = Rgb(0x969696);
inline constexpr QColor kChipSpeedChanged = Rgb(0x64B4FF);
inline constexpr QColor kChipHardware = Rgb(0xDCB432);
inline constexpr QColor kChipSoftware = Rgb(0x969696);
inline constexpr QColor kChipVideo = Rgb(0xB4B4B4);
inline constexpr QColor kChipAudio = Rgb(0x64B4FF);
inline constexpr QColor kChipChannels = Rgb(0xB4B4B4);
inline constexpr QColor kVolumeTrack = Rgb(0x323232);
inline constexpr QColor kVolumeLevelLow = Rgb(0xA0A0A0);   // up to 50
inline constexpr QColor kVolumeLevelHigh = Rgb(0xFF6496);  // above 50
inline constexpr QColor kVolumeCentreTick = Rgb(0x646464);
inline constexpr QColor kVolumeThumb = Rgb(0xE6E6E6);

// Icon tints of the toolbar's buttons (channels multiplied by the tint).
inline constexpr QColor kTintNormal = Rgb(0xC8C8C8);
inline constexpr QColor kTintHovered = Rgb(0xFFFFFF);
inline constexpr QColor kTintPressed = Rgb(0x969696);
inline constexpr QColor kTintSubtitleOnHovered = Rgb(0xFFE664);
inline constexpr QColor kTintSubtitleOnNormal = Rgb(0xE6C800);
// The speaker: red kept, green and blue at 100/255 when muted; 200/255 each otherwise.
inline constexpr QColor kTintSpeakerMuted = Rgb(0xFF6464);
inline constexpr QColor kTintSpeaker = Rgb(0xC8C8C8);

// Seek bar.
inline constexpr QColor kSeekTrack = Rgb(0x3C3C3C);
inline constexpr QColor kSeekPlayed = Rgb(0x00A2E8);
inline constexpr QColor kSeekABRange = Rgb(0x8787FF);
inline constexpr QColor kSeekMarkA = Rgb(0x64DC64);
inline constexpr QColor kSeekMarkB = Rgb(0xDC6464);
inline constexpr QColor kSeekThumb = Rgb(0xFFFFFF);

// Preview popup above the seek bar.
inline constexpr QColor kPopupBackground = Rgb(0x1E1E1E);
inline constexpr QColor kPopupFrame = Rgb(0x505050);
inline constexpr QColor kPopupText = Rgb(0xFFFFFF);

// Title bar.
inline constexpr QColor kTitleBackground = Rgb(0x181818);
inline constexpr QColor kTitleText = Rgb(0xC8C8C8);
inline constexpr QColor kTitleMediaText = Rgb(0xFFFFFF);
inline constexpr QColor kTitleButtonHoverFill = Rgb(0xA1EF9B);
inline constexpr QColor kTitleButtonPressedFill = Rgb(0x7EBC79);
inline constexpr QColor kTitleCloseHoverFill = Rgb(0xDC5050);
inline constexpr QColor kTitleClosePressedFill = Rgb(0xC83C3C);
inline constexpr QColor kTitleTintNormal = Rgb(0x747474);
inline constexpr QColor kTitleTintOverFill = Rgb(0x141414);
inline constexpr QColor kTitleTintCloseOverFill = Rgb(0xFFFFFF);
inline constexpr QColor kTitlePinOnTint = Rgb(0xFFC864);

// Popup menus.
inline constexpr QColor kMenuBackground = Rgb(0x2D2D2D);
inline constexpr QColor kMenuSelection = Rgb(0x3D3D3D);
inline constexpr QColor kMenuSeparatorLight = Rgb(0x3D3D3D);
inline constexpr QColor kMenuSeparatorDark = Rgb(0x1D1D1D);
inline constexpr QColor kMenuText = Rgb(0xE0E0E0);
inline constexpr QColor kMenuTextSelected = Rgb(0xFFFFFF);
inline constexpr QColor kMenuTextDisabled = Rgb(0x808080);
inline constexpr QColor kMenuFrameLight = Rgb(0x414141);  // top and left
inline constexpr QColor kMenuFrameDark = Rgb(0x232323);   // right and bottom

// Lyrics panel (its design writes them as COLORREF 0xBBGGRR; converted here).
inline constexpr QColor kLyricsBackground = Rgb(0x2B2B2B);
inline constexpr QColor kLyricsFrame = Rgb(0x464646);  // border and row separators
inline constexpr QColor kLyricsTitleText = Rgb(0xC8C8C8);
inline constexpr QColor kLyricsCurrentText = Rgb(0xFFDC32);
inline constexpr QColor kLyricsCurrentFill = Rgb(0x322D1E);
inline constexpr QColor kLyricsHoverText = Rgb(0xDCDCDC);
inline constexpr QColor kLyricsHoverFill = Rgb(0x464646);
inline constexpr QColor kLyricsPastText = Rgb(0x787878);
inline constexpr QColor kLyricsComingText = Rgb(0xB4B4B4);
inline constexpr QColor kLyricsEmptyText = Rgb(0x646464);
inline constexpr QColor kLyricsThumb = Rgb(0x5A5A5F);
inline constexpr QColor kLyricsThumbHot = Rgb(0x828287);
inline constexpr QColor kLyricsThumbDragged = Rgb(0xA0A0A5);
inline constexpr QColor kLyricsOffsetText = Rgb(0x969696);
inline constexpr QColor kLyricsButton = Rgb(0x373737);
inline constexpr QColor kLyricsButtonHot = Rgb(0x464646);
inline constexpr QColor kLyricsButtonPressed = Rgb(0x3C3C3C);
inline constexpr QColor kLyricsButtonFrame = Rgb(0x505050);
inline constexpr QColor kLyricsButtonText = Rgb(0xC8C8C8);

// Tooltip.
inline constexpr QColor kTooltipBackground = Rgb(0xFFF299);
inline constexpr QColor kTooltipFrame = Rgb(0x000000);
inline constexpr QColor kTooltipText = Rgb(0x000000);

// Dialogs and tool windows (options, file information): the menus' dark.
inline constexpr QColor kDialogBackground = Rgb(0x2D2D2D);
inline constexpr QColor kDialogBase = Rgb(0x1E1E1E);  // text fields, lists
inline constexpr QColor kDialogButton = Rgb(0x3D3D3D);
inline constexpr QColor kDialogText = Rgb(0xE0E0E0);
inline constexpr QColor kDialogTextDisabled = Rgb(0x808080);
inline constexpr QColor kDialogHighlight = Rgb(0x00A2E8);
inline constexpr QColor kDialogHighlightedText = Rgb(0xFFFFFF);
// The options dialog's page list: entries on the base, a frame around each.
inline constexpr QColor kOptionsEntry = Rgb(0x262626);
inline constexpr QColor kOptionsEntryHovered = Rgb(0x333840);
inline constexpr QColor kOptionsEntrySelected = Rgb(0x1E4A66);
inline constexpr QColor kOptionsEntryFrame = Rgb(0x4A4A4A);
// Playlist panel and its favourites tab.
inline constexpr QColor kPanelBackground = Rgb(0x2B2B2B);
inline constexpr QColor kPanelListBackground = Rgb(0x252525);  // also the inactive tab
inline constexpr QColor kPanelActiveTab = Rgb(0x3C3C3C);       // also the selected row frame
inline constexpr QColor kPanelHover = Rgb(0x464646);
inline constexpr QColor kPanelCurrentText = Rgb(0xE1B400);
inline constexpr QColor kPanelCurrentBackground = Rgb(0x322D1E);
inline constexpr QColor kPanelSearchBackground = Rgb(0x373737);
inline constexpr QColor kPanelTabFrame = Rgb(0x505050);
inline constexpr QColor kPanelBorder = Rgb(0x000000);
inline constexpr QColor kPanelDropLine = Rgb(0x50A0FF);
inline constexpr QColor kPanelText = Rgb(0xC8C8C8);
inline constexpr QColor kPanelTextActive = Rgb(0xFFFFFF);
inline constexpr QColor kPanelRowCount = Rgb(0xA0A0A0);
inline constexpr QColor kPanelHeaderBackground = Rgb(0x323232);
inline constexpr QColor kPanelRunningText = Rgb(0x64B4FF);
inline constexpr QColor kPanelRunningBackground = Rgb(0x1E2837);
// Control panel (its design writes them as 0xBBGGRR; converted here). Its
// background and text are the playlist panel's.
inline constexpr QColor kPanelEditBackground = Rgb(0x373737);
inline constexpr QColor kPanelButtonFace = Rgb(0x373737);
inline constexpr QColor kPanelButtonPushed = Rgb(0x3C3C3C);
inline constexpr QColor kPanelTabActive = Rgb(0x3C3C3C);
inline constexpr QColor kPanelTabHovered = Rgb(0x464646);
inline constexpr QColor kPanelTabOther = Rgb(0x252525);
inline constexpr QColor kControlPanelBorder = Rgb(0x505050);
inline constexpr QColor kPanelTextSelected = Rgb(0xFFFFFF);
inline constexpr QColor kPanelClosePressed = Rgb(0x969696);
inline constexpr QColor kPanelSliderTrack = Rgb(0x505050);
inline constexpr QColor kPanelSliderFilled = Rgb(0x64B4FF);
inline constexpr QColor kPanelSliderTicks = Rgb(0x646464);
// An audio file's cover (app/audio_cover_view.h): the dimming over its
// blurred copy, the three steps of its shadow from the outermost in, and its
// outline. The spectrum's bars take their colour from their level.
inline constexpr QColor kCoverDim{0, 0, 0, 0x32};
inline constexpr QColor kCoverShadow[3] = {{0, 0, 0, 0x28}, {0, 0, 0, 0x3C}, {0, 0, 0, 0x50}};
inline constexpr QColor kCoverOutline{0, 0, 0, 0xB4};

}  // namespace zelvaro::chrome
