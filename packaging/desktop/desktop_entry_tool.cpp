// Writes the installed desktop entry: the same text as the per-user entry
// that file association writes, with Exec naming the program on PATH. Run by
// the build: desktop_entry_tool <output>.

#include "foundation/desktop_entry.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char* argv[]) {
  QCoreApplication application(argc, argv);
  if (argc != 2) {
    std::fprintf(stderr, "usage: desktop_entry_tool <output>\n");
    return 2;
  }
  if (zelvaro::MediaMimeTypes().isEmpty()) {
    std::fprintf(stderr, "desktop_entry_tool: the MIME database gave no media types\n");
    return 1;
  }
  const QByteArray text =
      zelvaro::DesktopEntryText(zelvaro::MediaMimeTypes(), QStringLiteral("zelvaro")).toUtf8();
  QFile output(QFile::decodeName(argv[1]));
  if (!output.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 1;
  return output.write(text) == text.size() ? 0 : 1;
}
