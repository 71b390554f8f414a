#pragma once
// The three tables of media file extensions and the file dialog filters built
// from them.
//
// The tables are deliberately separate lists, not one list seen three ways:
// file association offers VideoExtensions and AudioExtensions ("mka" stands
// in both), while a folder scan accepts ScanExtensions, which has ".xvid" and
// lacks ".mka", ".amv", ".mxf", ".bik", ".dts", ".ac3" and others. Keep them
// apart when editing.
//
// The tables are constant. The filters depend on the language in force and are
// rebuilt by LanguageManager after each load, on the interface thread only.

#include <QString>
#include <QStringList>
#include <QStringView>

#include <span>

namespace zelvaro {

// Without a point, in the order file association lists them.
std::span<const QStringView> VideoExtensions();
std::span<const QStringView> AudioExtensions();
// With the leading point: what a folder scan accepts.
std::span<const QStringView> ScanExtensions();

// `extension` with its point, any case: ".MKV" is accepted, ".mka" is not.
bool IsSupportedExtension(QStringView extension);

// Name filters in the form QFileDialog::setNameFilters takes, in dialog order:
// "All media (*.mkv *.mka ...)", video, audio, all files. Empty until a
// language has been loaded.
QStringList MediaFilter();
// "Subtitle files (*.srt ...)", "SRT (*.srt)", "ASS/SSA (*.ass *.ssa)",
// "SMI (*.smi)", "WebVTT (*.vtt)", all files.
QStringList SubtitleFilter();

// The two pattern lists in their written form ("*.mkv;*.mka;...").
QString VideoPatternList();
QString AudioPatternList();

// Called by LanguageManager after every language load.
void RebuildDialogFilters();

}  // namespace zelvaro
