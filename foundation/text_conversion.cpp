#include "foundation/text_conversion.h"

#include <clocale>
#include <cstring>

namespace zelvaro {

std::string WideToUtf8(QStringView text) {
  if (text.isEmpty()) return {};
  QByteArray bytes = text.toUtf8();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

QString Utf8ToWide(std::string_view text) {
  if (text.empty()) return {};
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString Utf8CStrToWide(const char* text) {
  if (text == nullptr || *text == '\0') return {};
  return QString::fromUtf8(text);
}

void UseUtf8CLocale() {
  const char* locale = std::setlocale(LC_ALL, "");
  if (locale == nullptr || std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0) {
    std::setlocale(LC_ALL, "C.UTF-8");
  }
}

}  // namespace zelvaro
