#pragma once
// Case-insensitive text for the playlist: one UTF-16 unit at a time, as
// towlower folds, with a fast path for ASCII. Reentrant.

#include <QChar>
#include <QString>
#include <QStringView>

namespace zelvaro {

inline char16_t FoldCaseUnit(char16_t c) {
  if (c < 0x80) return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c;
  return static_cast<char16_t>(QChar::toCaseFolded(static_cast<char32_t>(c)));
}

// `text` with every unit folded.
QString FoldCase(QStringView text);

// True when `text` contains `foldedNeedle` (already folded) with case
// ignored. An empty needle is contained in everything.
bool ContainsFolded(QStringView text, QStringView foldedNeedle);

}  // namespace zelvaro
