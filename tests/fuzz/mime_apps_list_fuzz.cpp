// mimeapps.list on arbitrary bytes: what is only read goes back byte for
// byte, an association set reads back as set, and one set in a group the
// file did not have and removed again leaves the file as it was.
#include "panels/mime_apps_list.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  zelvaro::MimeAppsList list = zelvaro::MimeAppsList::Parse(bytes);
  if (list.Serialize() != bytes) std::abort();

  const QString key = QStringLiteral("video/x-matroska");
  const QString id = QStringLiteral("zelvaro.desktop;");
  for (const QString& group :
       {QStringLiteral("Default Applications"), QStringLiteral("Added Associations")}) {
    zelvaro::MimeAppsList::SplitIds(list.Value(group, key));
    list.SetValue(group, key, id);
    bool found = false;
    if (list.Value(group, key, &found) != id || !found) std::abort();
    if (zelvaro::MimeAppsList::Parse(list.Serialize()).Value(group, key) != id) std::abort();
    if (!list.RemoveKey(group, key)) std::abort();
    list.Value(group, key, &found);
    if (found) std::abort();
  }

  const QString fresh = QStringLiteral("Zelvaro Fuzz");
  if (!bytes.contains(fresh.toUtf8())) {
    zelvaro::MimeAppsList again = zelvaro::MimeAppsList::Parse(bytes);
    again.SetValue(fresh, key, id);
    if (!again.RemoveKey(fresh, key) || again.Serialize() != bytes) std::abort();
  }
  return 0;
}
