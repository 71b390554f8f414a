#pragma once
// A private home for one test: XDG_CONFIG_HOME, XDG_DATA_HOME and
// XDG_CACHE_HOME point into a fresh temporary directory for the lifetime of
// the object and are restored afterwards, so no test sees another's settings,
// database or files, and none touches the real user's.

#include <QString>
#include <QTemporaryDir>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvaro::test {

class TempHome {
 public:
  TempHome();
  ~TempHome();
  TempHome(const TempHome&) = delete;
  TempHome& operator=(const TempHome&) = delete;

  QString Root() const { return dir_.path(); }
  QString ConfigHome() const { return dir_.path() + QStringLiteral("/config"); }
  QString DataHome() const { return dir_.path() + QStringLiteral("/data"); }
  // Writes `bytes` to Root()/relative, creating folders; returns the path.
  QString WriteFile(const QString& relative, const QByteArray& bytes) const;

 private:
  QTemporaryDir dir_;
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

}  // namespace zelvaro::test
