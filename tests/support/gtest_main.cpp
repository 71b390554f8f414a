// Entry point of the GoogleTest binaries: a QCoreApplication so that queued
// calls, timers and D-Bus work, and a private home for the whole run so that
// nothing reaches the real user's files even in a test that forgets its own.

#include "tests/support/temp_home.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  zelvaro::test::TempHome home;
  return RUN_ALL_TESTS();
}
