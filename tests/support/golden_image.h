#pragma once
// Golden images of painted windows: a small PNG per known state under
// tests/<subsystem>/golden/, compared with a tolerance so that a rounding
// difference in anti-aliasing passes and a wrong colour or a moved shape
// does not.
//
// When the look changes on purpose, regenerate every golden image with
//   ZELVARO_UPDATE_GOLDEN=1 bash packaging/run-headless.sh ctest --test-dir build -L golden
// which rewrites the files in the source tree instead of comparing.

#include <QImage>
#include <QString>

namespace zelvaro::test {

struct GoldenTolerance {
  int channel = 48;            // a pixel differs when a channel is further off than this
  double maxDiffering = 0.01;  // the share of pixels allowed to differ
};

// Compares `actual` with tests/<relativePath> (for example
// "chrome/golden/toolbar_1x.png"). On a mismatch returns false, writes the
// actual picture beside the build's test binaries and says why in `why`.
// With ZELVARO_UPDATE_GOLDEN=1 writes `actual` as the golden and returns true.
bool MatchesGolden(const QImage& actual, const QString& relativePath, QString* why,
                   GoldenTolerance tolerance = {});

}  // namespace zelvaro::test
