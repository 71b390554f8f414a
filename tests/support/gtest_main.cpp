// Entry point of the GoogleTest binaries: a QCoreApplication so that queued
// calls, timers and D-Bus work, and a private home for the whole run so that
// nothing reaches the real user's files even in a test that forgets its own.

#include "foundation/text_conversion.h"
#include "tests/support/temp_home.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <optional>

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  zelvaro::UseUtf8CLocale();
  testing::InitGoogleTest(&argc, argv);
  // A child process that a test starts to work on the test's own files says
  // so with ZELVARO_TEST_SHARED_HOME=1 and keeps the home it was given.
  std::optional<zelvaro::test::TempHome> home;
  if (qgetenv("ZELVARO_TEST_SHARED_HOME") != "1") home.emplace();
  return RUN_ALL_TESTS();
}
