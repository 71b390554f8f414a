#pragma once
// UTF-16 inside the program (QString), UTF-8 at the edges: libcurl, sqlite3,
// libass, JSON and subtitle files. Invalid input never fails: malformed UTF-8
// sequences become U+FFFD, unpaired surrogates likewise. Reentrant.

#include <QString>
#include <QStringView>

#include <string>
#include <string_view>

namespace zelvaro {

std::string WideToUtf8(QStringView text);
QString Utf8ToWide(std::string_view text);
// Null or empty gives an empty string.
QString Utf8CStrToWide(const char* text);

// C libraries (MediaInfo, the C runtime's wide conversions) turn names into
// bytes by the C locale. The application object sets it from the environment,
// which on a bare system is "C"; call this after making that object so
// non-ASCII names still pass.
void UseUtf8CLocale();

}  // namespace zelvaro
