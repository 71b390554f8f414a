#include "library/natural_compare.h"

#include "library/case_fold.h"

namespace zelvaro {
namespace {

inline bool IsDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}

}  // namespace

int NaturalCompare(QStringView a, QStringView b) {
  const qsizetype na = a.size();
  const qsizetype nb = b.size();
  qsizetype i = 0;
  qsizetype j = 0;
  int zeroTieBreak = 0;  // first difference in leading zeros, used only on a full tie
  while (i < na && j < nb) {
    const char16_t ca = a[i].unicode();
    const char16_t cb = b[j].unicode();
    if (IsDigit(ca) && IsDigit(cb)) {
      qsizetype zi = i;
      while (zi < na && a[zi] == u'0') ++zi;
      qsizetype zj = j;
      while (zj < nb && b[zj] == u'0') ++zj;
      qsizetype ei = zi;
      while (ei < na && IsDigit(a[ei].unicode())) ++ei;
      qsizetype ej = zj;
      while (ej < nb && IsDigit(b[ej].unicode())) ++ej;
      // Without leading zeros, the longer run is the larger number.
      const qsizetype lengthA = ei - zi;
      const qsizetype lengthB = ej - zj;
      if (lengthA != lengthB) return lengthA < lengthB ? -1 : 1;
      for (qsizetype k = 0; k < lengthA; ++k) {
        const char16_t da = a[zi + k].unicode();
        const char16_t db = b[zj + k].unicode();
        if (da != db) return da < db ? -1 : 1;
      }
      if (zeroTieBreak == 0 && (zi - i) != (zj - j)) zeroTieBreak = (zi - i) < (zj - j) ? -1 : 1;
      i = ei;
      j = ej;
      continue;
    }
    const char16_t fa = FoldCaseUnit(ca);
    const char16_t fb = FoldCaseUnit(cb);
    if (fa != fb) return fa < fb ? -1 : 1;
    ++i;
    ++j;
  }
  if (i < na) return 1;
  if (j < nb) return -1;
  return zeroTieBreak;
}

}  // namespace zelvaro
