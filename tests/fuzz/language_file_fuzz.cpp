// A language file on arbitrary bytes, read both ways the program reads one:
// the scan's look at its [Language] section and the whole load. A loaded
// file answers every key, and the scan's Id is one the loaded table holds.
#include "foundation/language_manager.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  QString id, name;
  zelvaro::LanguageManager::ReadLanguageHeader(QString::fromUtf8(bytes), &id, &name);
  zelvaro::LanguageManager& manager = zelvaro::LanguageManager::Instance();
  if (!manager.LoadLanguageBytes(bytes)) return 0;
  if (manager.Lookup(u"No.Such.Key") != u"No.Such.Key") std::abort();
  manager.Lookup(u"Language.Id");
  manager.Lookup(u"Toolbar.Play");
  return 0;
}
