#include "library/case_fold.h"

namespace zelvaro {

QString FoldCase(QStringView text) {
  QString folded(text.size(), Qt::Uninitialized);
  char16_t* out = reinterpret_cast<char16_t*>(folded.data());
  for (qsizetype i = 0; i < text.size(); ++i) out[i] = FoldCaseUnit(text[i].unicode());
  return folded;
}

bool ContainsFolded(QStringView text, QStringView foldedNeedle) {
  const qsizetype n = foldedNeedle.size();
  if (n == 0) return true;
  const char16_t* hay = reinterpret_cast<const char16_t*>(text.data());
  const char16_t* needle = reinterpret_cast<const char16_t*>(foldedNeedle.data());
  const qsizetype last = text.size() - n;
  for (qsizetype i = 0; i <= last; ++i) {
    if (FoldCaseUnit(hay[i]) != needle[0]) continue;
    qsizetype k = 1;
    while (k < n && FoldCaseUnit(hay[i + k]) == needle[k]) ++k;
    if (k == n) return true;
  }
  return false;
}

}  // namespace zelvaro
