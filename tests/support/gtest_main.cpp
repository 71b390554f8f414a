// Entry point of the GoogleTest binaries: a QCoreApplication so that queued
// calls, timers and D-Bus work, and a private home for the whole run so that
// nothing reaches the real user's files even in a test that forgets its own.

#include "tests/support/temp_home.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <optional>

int main(int argc, char** argv) {
  // As the program does: non-ASCII paths need a UTF-8 locale in C libraries.
  const char* locale = std::setlocale(LC_ALL, "");
  if (locale == nullptr || std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0) {
    std::setlocale(LC_ALL, "C.UTF-8");
  }
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  // A child process that a test starts to work on the test's own files says
  // so with ZELVARO_TEST_SHARED_HOME=1 and keeps the home it was given.
  std::optional<zelvaro::test::TempHome> home;
  if (qgetenv("ZELVARO_TEST_SHARED_HOME") != "1") home.emplace();
  return RUN_ALL_TESTS();
}
