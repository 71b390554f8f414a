// Entry point of the subtitle tests: a QGuiApplication (fonts for the cue
// painter) on the offscreen platform, and a private home for the whole run.

#include "tests/support/temp_home.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <clocale>
#include <optional>

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  std::optional<zelvaro::test::TempHome> home;
  home.emplace();
  return RUN_ALL_TESTS();
}
