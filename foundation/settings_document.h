#pragma once
// The in-memory form of the settings file and its text format. Internal to
// foundation/settings.cpp; separate so that the parser can be tested and
// fuzzed on its own.
//
// Format (UTF-8, one value per line, '#' starts a comment line):
//
//   [Zelvaro]
//   Volume=dword:50
//   Language=sz:"ko"
//   Folder=expand_sz:"$HOME/x"
//   Odd=sz:hex:6b006f          (a string stored without its terminator)
//   Blob=binary:0102
//   [Backup]
//   .mkv=sz:"org.example.Player.mkv"
//
// String data keeps the stored form of the values it stands for: UTF-16LE
// bytes with the terminator, so the readers' rules on terminators and sizes
// apply to anything found in the file, including values written by hand.
// Names compare with case ignored and keep the case of their first writer.
// A line that cannot be read (a hand edit gone wrong, a newer version's
// value type) is skipped and kept verbatim: it goes back into its section
// when the file is rewritten, so nothing is lost and the other values still
// read. Only text that is not UTF-8 is refused as a whole.

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <map>
#include <optional>
#include <vector>

namespace zelvaro {

enum class SettingType { Dword, String, ExpandString, Binary };

struct StoredValue {
  SettingType type = SettingType::Dword;
  QByteArray data;  // DWORD: 4 bytes little-endian; strings: UTF-16LE

  bool operator==(const StoredValue&) const = default;

  static StoredValue Dword(uint32_t value);
  static StoredValue String(QStringView text);  // with terminator
};

enum class SettingScope { Main, Backup };

class SettingsDocument {
 public:
  const StoredValue* Find(SettingScope scope, QStringView name) const;
  // Returns true when the document changed.
  bool Set(SettingScope scope, QStringView name, const StoredValue& value);
  bool Remove(SettingScope scope, QStringView name);
  bool Empty() const { return main_.empty() && backup_.empty() && kept_.empty(); }
  // How many unreadable lines the document carries along.
  qsizetype KeptLineCount() const { return static_cast<qsizetype>(kept_.size()); }

  QByteArray Serialize() const;
  // nullopt when the text is not UTF-8. `error` names the first skipped line.
  static std::optional<SettingsDocument> Parse(const QByteArray& text, QString* error = nullptr);

 private:
  struct Entry {
    QString name;  // as first written
    StoredValue value;
  };
  using Map = std::map<QString, Entry>;  // keyed by case-folded name
  Map& ScopeMap(SettingScope scope) { return scope == SettingScope::Main ? main_ : backup_; }
  const Map& ScopeMap(SettingScope scope) const {
    return scope == SettingScope::Main ? main_ : backup_;
  }

  // An unreadable line and the section it stood in (none: before any
  // section, or in one this program does not know).
  struct KeptLine {
    std::optional<SettingScope> scope;
    QString text;
  };

  Map main_;
  Map backup_;
  std::vector<KeptLine> kept_;
};

}  // namespace zelvaro
