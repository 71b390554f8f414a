#include "foundation/media_types.h"

#include "foundation/language_manager.h"

#include <QReadWriteLock>

#include <array>

namespace zelvaro {
namespace {

constexpr std::array<QStringView, 38> kVideoExtensions{
    u"mkv", u"mka", u"mks",  u"mk3d", u"webm", u"avi",  u"divx", u"amv",  u"mp4", u"m4v",
    u"mov", u"3gp", u"3g2",  u"qt",   u"f4v",  u"ts",   u"m2ts", u"mts",  u"tp",  u"ssif",
    u"wtv", u"bdmv", u"mpls", u"iso", u"ifo",  u"mpg",  u"mpeg", u"vob",  u"evo", u"flv",
    u"ogv", u"ogm", u"rm",   u"rmvb", u"wmv",  u"asf",  u"mxf",  u"bik"};

constexpr std::array<QStringView, 19> kAudioExtensions{
    u"mp3", u"flac", u"aac", u"wav", u"wma", u"m4a", u"opus", u"ogg", u"mka", u"ape",
    u"wv",  u"tta",  u"tak", u"dsf", u"dff", u"dts", u"dtshd", u"ac3", u"eac3"};

constexpr std::array<QStringView, 43> kScanExtensions{
    u".mp4", u".mkv",  u".avi", u".mov",  u".wmv", u".flv", u".webm", u".m4v", u".f4v",
    u".ts",  u".m2ts", u".mts", u".mpg",  u".mpeg", u".vob", u".3gp", u".3g2", u".wtv",
    u".bdmv", u".mpls", u".iso", u".ifo", u".mp3", u".flac", u".wav", u".aac", u".ogg",
    u".wma", u".m4a",  u".opus", u".ape", u".wv",  u".tta", u".tak", u".dsf", u".dff",
    u".divx", u".xvid", u".rm", u".rmvb", u".asf", u".ogv", u".ogm"};

constexpr QStringView kSubtitlePatterns = u"*.srt;*.ass;*.ssa;*.smi;*.vtt;*.sub;*.idx";
// "*.*" would hide files without an extension, which are common on Linux.
constexpr QStringView kAllFilesPattern = u"*";

QString PatternList(std::span<const QStringView> extensions) {
  QStringList patterns;
  for (QStringView extension : extensions) patterns << QStringLiteral("*.") + extension.toString();
  return patterns.join(u';');
}

// QFileDialog reads the patterns between the parentheses split by spaces.
QString Filter(const QString& text, QStringView patterns) {
  QString spaced = patterns.toString();
  spaced.replace(u';', u' ');
  return text + QStringLiteral(" (") + spaced + u')';
}

struct Filters {
  QReadWriteLock lock;
  QStringList media;
  QStringList subtitle;
};

Filters& DialogFilters() {
  static Filters filters;
  return filters;
}

}  // namespace

std::span<const QStringView> VideoExtensions() { return kVideoExtensions; }
std::span<const QStringView> AudioExtensions() { return kAudioExtensions; }
std::span<const QStringView> ScanExtensions() { return kScanExtensions; }

bool IsSupportedExtension(QStringView extension) {
  const QString lower = extension.toString().toLower();
  for (QStringView known : kScanExtensions) {
    if (known == lower) return true;
  }
  return false;
}

QString VideoPatternList() { return PatternList(kVideoExtensions); }
QString AudioPatternList() { return PatternList(kAudioExtensions); }

QStringList MediaFilter() {
  QReadLocker locker(&DialogFilters().lock);
  return DialogFilters().media;
}

QStringList SubtitleFilter() {
  QReadLocker locker(&DialogFilters().lock);
  return DialogFilters().subtitle;
}

void RebuildDialogFilters() {
  const QString video = VideoPatternList();
  const QString audio = AudioPatternList();
  const QString allFiles = LanguageManager::GetString(u"FileDialog.AllFiles");
  QStringList media{
      Filter(LanguageManager::GetString(u"FileDialog.AllMedia"), video + u';' + audio),
      Filter(LanguageManager::GetString(u"FileDialog.Video"), video),
      Filter(LanguageManager::GetString(u"FileDialog.Audio"), audio),
      Filter(allFiles, kAllFilesPattern),
  };
  QStringList subtitle{
      Filter(LanguageManager::GetString(u"FileDialog.Subtitle"), kSubtitlePatterns),
      Filter(QStringLiteral("SRT"), u"*.srt"),
      Filter(QStringLiteral("ASS/SSA"), u"*.ass;*.ssa"),
      Filter(QStringLiteral("SMI"), u"*.smi"),
      Filter(QStringLiteral("WebVTT"), u"*.vtt"),
      Filter(allFiles, kAllFilesPattern),
  };
  QWriteLocker locker(&DialogFilters().lock);
  DialogFilters().media = std::move(media);
  DialogFilters().subtitle = std::move(subtitle);
}

}  // namespace zelvaro
