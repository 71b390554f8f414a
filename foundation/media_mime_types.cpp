#include "foundation/media_mime_types.h"

#include "foundation/media_types.h"

#include <QMimeDatabase>
#include <QSet>

#include <algorithm>

namespace zelvaro {

const QStringList& MediaMimeTypes() {
  static const QStringList types = [] {
    const QMimeDatabase database;
    QSet<QString> names;
    auto add = [&](std::span<const QStringView> extensions) {
      for (QStringView extension : extensions) {
        // Every media reading of the extension (".ogg" is audio/ogg and
        // video/ogg, ".ts" also a translation source, which is left out).
        const QList<QMimeType> candidates =
            database.mimeTypesForFileName(QStringLiteral("x.") + extension.toString());
        for (const QMimeType& type : candidates) {
          const QString name = type.name();
          if (name.startsWith(u"video/") || name.startsWith(u"audio/") ||
              name.startsWith(u"application/")) {
            names.insert(name);
          }
        }
      }
    };
    add(VideoExtensions());
    add(AudioExtensions());
    names.remove(QStringLiteral("application/octet-stream"));
    QStringList sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
  }();
  return types;
}

}  // namespace zelvaro
