#include "tests/support/test_paths.h"

namespace zelvaro::test {

QString SourceDir() { return QStringLiteral(ZELVARO_SOURCE_DIR); }
QString FixtureDir() { return QStringLiteral(ZELVARO_FIXTURE_DIR); }
QString FixturePath(const QString& name) { return FixtureDir() + u'/' + name; }
QString BinDir() { return QStringLiteral(ZELVARO_BIN_DIR); }

}  // namespace zelvaro::test
