#pragma once
// LanguageManager: every visible text of the program, fetched by key
// ("OSD.Play", "Menu.Open") from one table filled from one file of
// Language/*.ini. A key that is not in the table shows as the key itself.
//
// Threads: Initialize and SetLanguage run on the interface thread; GetString
// may be called from any thread (the update thread reads texts too). Returned
// strings are values and stay valid across a language switch.
//
// File format: UTF-8 (optional BOM), lines "Name=Text" under "[Section]"
// headers, full key "Section.Name"; a "[Language]" section with Id and Name
// makes a file a language file. Lines whose first character is ';' or '#'
// are comments; "\n" and "\t" are the only escapes.

#include <QLocale>
#include <QString>
#include <QStringView>

#include <shared_mutex>
#include <unordered_map>
#include <vector>

namespace zelvaro {

struct LanguageInfo {
  QString Id;
  QString Name;
  QString Path;
};

class LanguageManager {
 public:
  static LanguageManager& Instance();

  // The text of `key` in the language in force, or the key itself.
  static QString GetString(QStringView key);

  // Chooses and loads the language once: the `Language` setting, then the
  // system language (ko, ja, else en), then "en", then the first file found.
  // Later calls return at once. Always true.
  bool Initialize();
  // As above with an explicit resource directory and system language; the
  // program passes ResourceDir() and the desktop's UI language.
  bool Initialize(const QString& baseDir, QLocale::Language systemLanguage);

  // Run-time switch. An unknown id changes nothing; otherwise the file is
  // loaded, the id becomes current and is saved as the `Language` setting.
  void SetLanguage(const QString& id);

  std::vector<LanguageInfo> GetLanguages() const;
  QString GetCurrentLanguage() const;
  QString BaseDir() const;

  // The steps of Initialize, public for the settings page and for tests.
  void ScanLanguages();
  bool LoadLanguageFile(const QString& path);
  // LoadLanguageFile on bytes already read; false (table kept) when they hold
  // no text.
  bool LoadLanguageBytes(QByteArray bytes);
  // What the scan reads of a file's text: the Id and Name of its
  // "[Language]" section; false when either is missing.
  static bool ReadLanguageHeader(QStringView text, QString* id, QString* name);
  QString Lookup(QStringView key) const;

  // Back to the state before Initialize; tests only.
  void ResetForTesting();

 private:
  LanguageManager() = default;

  // FNV-1a over the UTF-16 code units taken as bytes.
  struct KeyHash {
    using is_transparent = void;
    size_t operator()(QStringView key) const noexcept;
  };
  struct KeyEqual {
    using is_transparent = void;
    bool operator()(QStringView a, QStringView b) const noexcept { return a == b; }
  };
  using Table = std::unordered_map<QString, QString, KeyHash, KeyEqual>;

  mutable std::shared_mutex mutex_;  // guards every field below
  QString baseDir_;
  std::vector<LanguageInfo> languages_;
  QString currentId_;
  Table strings_;
  bool initialized_ = false;
};

}  // namespace zelvaro
