#pragma once
// What stands for StrCmpLogicalW: natural order. Runs of ASCII digits compare
// by numeric value (any length, no overflow), everything else by character
// with case ignored. Names equal in that sense are ordered by fewer leading
// zeros first ("1" before "01"), then equal. A strict weak order, so it can
// drive std::sort. Reentrant.

#include <QStringView>

namespace zelvaro {

// Negative, zero or positive as `a` orders before, with or after `b`.
int NaturalCompare(QStringView a, QStringView b);

}  // namespace zelvaro
