#include "foundation/desktop_entry.h"

#include "foundation/media_types.h"

#include <QMimeDatabase>
#include <QSet>

#include <algorithm>

namespace zelvaro {
namespace {

bool IsMediaType(const QString& name) {
  return name.startsWith(u"video/") || name.startsWith(u"audio/") ||
         name.startsWith(u"application/");
}

// The Exec key's own quoting, then the string escape of the entry format.
QString ExecArgument(const QString& path) {
  static const QString kReserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
  bool reserved = false;
  for (QChar c : path) reserved = reserved || kReserved.contains(c);
  if (!reserved) return path;
  QString quoted = QStringLiteral("\"");
  for (QChar c : path) {
    if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') quoted += u'\\';
    quoted += c;
  }
  quoted += u'"';
  quoted.replace(u'\\', QStringLiteral("\\\\"));
  return quoted;
}

}  // namespace

QString AssociationMimeType(QStringView extension) {
  if (extension.isEmpty()) return {};
  static const QMimeDatabase database;
  const QString name = QStringLiteral("file.") + extension.toString();
  const QString best = database.mimeTypeForFile(name, QMimeDatabase::MatchExtension).name();
  if (IsMediaType(best) && best != u"application/octet-stream") return best;
  for (const QMimeType& type : database.mimeTypesForFileName(name)) {
    if (type.name().startsWith(u"video/") || type.name().startsWith(u"audio/")) return type.name();
  }
  return {};
}

const QStringList& MediaMimeTypes() {
  static const QStringList types = [] {
    const QMimeDatabase database;
    QSet<QString> names;
    for (const auto& table : {VideoExtensions(), AudioExtensions()}) {
      for (QStringView extension : table) {
        for (const QMimeType& type :
             database.mimeTypesForFileName(QStringLiteral("x.") + extension.toString())) {
          if (IsMediaType(type.name())) names.insert(type.name());
        }
      }
    }
    names.remove(QStringLiteral("application/octet-stream"));
    QStringList sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
  }();
  return types;
}

QString DesktopEntryText(const QStringList& mimeTypes, const QString& execPath) {
  QString text = QStringLiteral(
      "[Desktop Entry]\n"
      "Type=Application\n"
      "Name=Zelvaro\n"
      "GenericName=Media Player\n"
      "Comment=Play videos and music with subtitles and lyrics\n");
  text += QStringLiteral("Exec=") + ExecArgument(execPath) + QStringLiteral(" %U\n");
  text += QStringLiteral(
      "Icon=zelvaro\n"
      "Terminal=false\n"
      "Categories=AudioVideo;Player;Video;Audio;\n"
      "Keywords=video;movie;music;subtitles;playlist;\n");
  text += QStringLiteral("MimeType=");
  for (const QString& type : mimeTypes) text += type + u';';
  text += u'\n';
  return text;
}

}  // namespace zelvaro
