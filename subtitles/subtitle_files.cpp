#include "subtitles/subtitle_files.h"

#include "foundation/trace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <algorithm>

namespace zelvaro {

namespace {

constexpr const char16_t* kExtensions[] = {u".srt", u".ass", u".ssa", u".sub", u".smi", u".vtt"};
constexpr const char16_t* kLanguageSuffixes[] = {u".ko",       u".en",     u".jp",     u".ja",
                                                 u".cn",       u".zh",     u".korean", u".english",
                                                 u".japanese", u".chinese"};

}  // namespace

SubtitleType DetectSubtitleType(const QString& path) {
  const QString name = QFileInfo(path).fileName();
  const qsizetype dot = name.lastIndexOf(u'.');
  if (dot < 0) return SubtitleType::kUnknown;
  const QString extension = name.mid(dot + 1).toLower();
  if (extension == u"srt") return SubtitleType::kSrt;
  if (extension == u"ass") return SubtitleType::kAss;
  if (extension == u"ssa") return SubtitleType::kSsa;
  if (extension == u"sub") return SubtitleType::kSub;
  if (extension == u"smi" || extension == u"sami") return SubtitleType::kSami;
  if (extension == u"vtt") return SubtitleType::kWebVtt;
  return SubtitleType::kUnknown;
}

QStringList FindSubtitleFiles(const QString& mediaPath) {
  const QFileInfo media(mediaPath);
  const QString fileName = media.fileName();
  const qsizetype dot = fileName.lastIndexOf(u'.');
  const QString baseName = dot < 0 ? fileName : fileName.left(dot);
  const QDir directory = media.dir();

  // One listing of the folder answers every candidate, exact or by case.
  QHash<QString, QString> byLowerName;
  QHash<QString, bool> exactNames;
  const QStringList entries =
      directory.entryList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
  for (const QString& entry : entries) {
    exactNames.insert(entry, true);
    byLowerName.insert(entry.toLower(), entry);
  }
  auto lookUp = [&](const QString& candidate) -> QString {
    if (exactNames.contains(candidate)) return candidate;
    return byLowerName.value(candidate.toLower());
  };

  QStringList found;
  auto add = [&](const QString& candidate) {
    const QString name = lookUp(candidate);
    if (name.isEmpty()) return;
    const QString path = directory.filePath(name);
    if (!found.contains(path)) found.append(path);
  };
  for (const char16_t* extension : kExtensions) {
    add(baseName + QString::fromUtf16(extension));
    for (const char16_t* suffix : kLanguageSuffixes)
      add(baseName + QString::fromUtf16(suffix) + QString::fromUtf16(extension));
  }
  return found;
}

std::optional<QByteArray> ReadSubtitleFile(const QString& path) {
  // Regular files only: opening a FIFO would wait for a writer, and a device
  // could be read forever.
  if (!QFileInfo(path).isFile()) return std::nullopt;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
  const qint64 size = file.size();
  if (size > kMaxSubtitleFileBytes) {
    Trace("Subtitle file too large: %lld bytes", static_cast<long long>(size));
    return std::nullopt;
  }
  // In pieces: one read of tens of megabytes holds the process's memory map
  // for its whole length, and the interface thread waits on it.
  constexpr qint64 kChunkBytes = 1 << 20;
  QByteArray bytes(size, Qt::Uninitialized);
  for (qint64 done = 0; done < size;) {
    const qint64 got = file.read(bytes.data() + done, std::min(kChunkBytes, size - done));
    if (got <= 0) return std::nullopt;
    done += got;
  }
  return bytes;
}

}  // namespace zelvaro
