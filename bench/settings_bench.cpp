// Cost of the settings store as the player uses it: reads at start-up and on
// every poll that consults a value, a write on each volume or speed change.
// Runs against a temporary XDG_CONFIG_HOME.

#include "foundation/settings.h"

#include <QByteArray>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace zelvaro;

namespace {
template <typename Body>
double MicrosecondsPerCall(int calls, Body&& body) {
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < calls; ++i) body(i);
  std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count() / calls;
}
}  // namespace

int main() {
  QTemporaryDir home;
  setenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()).constData(), 1);
  // A realistic file: the hundred-odd values a player accumulates.
  for (int i = 0; i < 120; ++i) Settings::SetDword(QStringLiteral("Value%1").arg(i), i);

  const double write = MicrosecondsPerCall(500, [](int i) { Settings::SetDword(u"Volume", i % 101); });
  uint32_t value = 0;
  const double read = MicrosecondsPerCall(20000, [&](int) { Settings::GetDword(u"Volume", &value); });
  QString text;
  Settings::SetString(u"Language", u"ko");
  const double readString =
      MicrosecondsPerCall(20000, [&](int) { Settings::GetString(u"Language", &text); });
  std::printf("settings write (lock, rewrite, fsync, rename): %8.1f us\n", write);
  std::printf("settings dword read (unchanged file):          %8.2f us\n", read);
  std::printf("settings string read (unchanged file):         %8.2f us\n", readString);
  return 0;
}
