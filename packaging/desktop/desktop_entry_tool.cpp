// Writes the desktop entry from its template with the MIME types of the media
// extensions filled in, so the installed entry and the MPRIS service announce
// the same list. Run by the build: desktop_entry_tool <template> <output>.

#include "foundation/media_mime_types.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char* argv[]) {
  QCoreApplication application(argc, argv);
  if (argc != 3) {
    std::fprintf(stderr, "usage: desktop_entry_tool <template> <output>\n");
    return 2;
  }
  QFile input(QFile::decodeName(argv[1]));
  if (!input.open(QIODevice::ReadOnly)) return 1;
  QByteArray text = input.readAll();
  const QStringList& types = zelvaro::MediaMimeTypes();
  if (types.isEmpty()) {
    std::fprintf(stderr, "desktop_entry_tool: the MIME database gave no media types\n");
    return 1;
  }
  text.replace("@ZELVARO_MIME_TYPES@", (types.join(u';') + u';').toUtf8());
  QFile output(QFile::decodeName(argv[2]));
  if (!output.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 1;
  return output.write(text) == text.size() ? 0 : 1;
}
