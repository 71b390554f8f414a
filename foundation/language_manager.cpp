#include "foundation/language_manager.h"

#include "foundation/app_paths.h"
#include "foundation/media_types.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <mutex>

namespace zelvaro {
namespace {

// The scan ignores larger files; the loader itself has no limit.
constexpr qint64 kMaxListedFileBytes = 65536;
// The one built-in text: the interface face when a language names none.
constexpr QStringView kDefaultFontName = u"Noto Sans";

bool IsBlank(QChar c) { return c == u' ' || c == u'\t'; }

QStringView TrimLeft(QStringView text) {
  while (!text.isEmpty() && IsBlank(text.front())) text = text.mid(1);
  return text;
}

QStringView TrimRight(QStringView text) {
  while (!text.isEmpty() && IsBlank(text.back())) text.chop(1);
  return text;
}

QStringView Trim(QStringView text) { return TrimRight(TrimLeft(text)); }

// Lines end at CR, LF or CR LF.
template <typename Visitor>
void ForEachLine(QStringView text, Visitor&& visit) {
  qsizetype start = 0;
  while (start < text.size()) {
    qsizetype end = start;
    while (end < text.size() && text[end] != u'\r' && text[end] != u'\n') ++end;
    if (!visit(text.mid(start, end - start))) return;
    if (end < text.size() && text[end] == u'\r') ++end;
    if (end < text.size() && text[end] == u'\n') ++end;
    start = end;
  }
}

// Reads and decodes a language file; empty when it cannot be read or holds
// no characters after the BOM.
QString ReadText(QFile& file) {
  QByteArray bytes = file.readAll();
  if (bytes.startsWith("\xEF\xBB\xBF")) bytes.remove(0, 3);
  return QString::fromUtf8(bytes);
}

QString SystemUiLanguageTag() {
  const QStringList languages = QLocale::system().uiLanguages();
  return languages.isEmpty() ? QLocale::system().name() : languages.front();
}

QString IdForSystemLanguage(QLocale::Language language) {
  if (language == QLocale::Korean) return QStringLiteral("ko");
  if (language == QLocale::Japanese) return QStringLiteral("ja");
  return QStringLiteral("en");
}

}  // namespace

size_t LanguageManager::KeyHash::operator()(QStringView key) const noexcept {
  uint64_t hash = 0xcbf29ce484222325ull;
  for (QChar c : key) {
    const char16_t unit = c.unicode();
    hash = (hash ^ (unit & 0xFF)) * 0x100000001b3ull;
    hash = (hash ^ (unit >> 8)) * 0x100000001b3ull;
  }
  return static_cast<size_t>(hash);
}

LanguageManager& LanguageManager::Instance() {
  static LanguageManager instance;
  return instance;
}

QString LanguageManager::GetString(QStringView key) { return Instance().Lookup(key); }

QString LanguageManager::Lookup(QStringView key) const {
  std::shared_lock lock(mutex_);
  auto it = strings_.find(key);
  return it == strings_.end() ? key.toString() : it->second;
}

bool LanguageManager::Initialize() {
  return Initialize(ResourceDir(), QLocale(SystemUiLanguageTag()).language());
}

bool LanguageManager::Initialize(const QString& baseDir, QLocale::Language systemLanguage) {
  {
    std::unique_lock lock(mutex_);
    if (initialized_) return true;
    baseDir_ = baseDir.endsWith(u'/') ? baseDir : baseDir + u'/';
  }
  QString wanted;
  Settings::GetString(setting::kLanguage, &wanted);
  ScanLanguages();

  const std::vector<LanguageInfo> languages = GetLanguages();
  auto tryId = [&](const QString& id) {
    for (const LanguageInfo& info : languages) {
      if (info.Id != id) continue;
      if (!LoadLanguageFile(info.Path)) return false;
      std::unique_lock lock(mutex_);
      currentId_ = id;
      return true;
    }
    return false;
  };
  // A saved id without a file falls through to the system language; the
  // setting stays as it was.
  bool loaded = (!wanted.isEmpty() && tryId(wanted)) || tryId(IdForSystemLanguage(systemLanguage)) ||
                tryId(QStringLiteral("en")) || (!languages.empty() && tryId(languages.front().Id));
  {
    std::unique_lock lock(mutex_);
    if (!loaded) {
      currentId_ = QStringLiteral("en");
      Trace("no language file could be loaded from %sLanguage/", qPrintable(baseDir_));
    }
    strings_.try_emplace(QStringLiteral("App.FontName"), kDefaultFontName.toString());
  }
  RebuildDialogFilters();
  std::unique_lock lock(mutex_);
  initialized_ = true;
  return true;
}

void LanguageManager::ScanLanguages() {
  const QString directory = BaseDir() + QStringLiteral("Language");
  std::vector<LanguageInfo> found;
  // Directory order, never sorted: with two files of one id, the first
  // enumerated wins.
  QDirIterator it(directory, {QStringLiteral("*.ini")}, QDir::Files | QDir::Hidden);
  while (it.hasNext()) {
    const QString path = it.next();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) continue;
    if (file.size() < 1 || file.size() > kMaxListedFileBytes) continue;
    const QString text = ReadText(file);
    if (text.isEmpty()) continue;

    QString id, name;
    if (ReadLanguageHeader(text, &id, &name)) found.push_back({id, name, path});
  }
  std::unique_lock lock(mutex_);
  languages_ = std::move(found);
}

bool LanguageManager::ReadLanguageHeader(QStringView text, QString* id, QString* name) {
  id->clear();
  name->clear();
  bool inSection = false;
  ForEachLine(text, [&](QStringView rawLine) {
    QStringView line = Trim(rawLine);
    if (line.isEmpty()) return true;
    if (line == u"[Language]") {
      inSection = true;
      return true;
    }
    if (line.startsWith(u'[')) return !inSection;
    if (!inSection) return true;
    qsizetype equals = line.indexOf(u'=');
    if (equals < 0) return true;
    QStringView key = Trim(line.left(equals));
    QStringView value = TrimLeft(line.mid(equals + 1));
    if (key == u"Id") *id = value.toString();
    if (key == u"Name") *name = value.toString();
    return id->isEmpty() || name->isEmpty();
  });
  return !id->isEmpty() && !name->isEmpty();
}

bool LanguageManager::LoadLanguageFile(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly) || file.size() <= 0) return false;
  return LoadLanguageBytes(file.readAll());
}

bool LanguageManager::LoadLanguageBytes(QByteArray bytes) {
  if (bytes.startsWith("\xEF\xBB\xBF")) bytes.remove(0, 3);
  const QString text = QString::fromUtf8(bytes);
  if (text.isEmpty()) return false;

  Table table;
  QString section;
  ForEachLine(text, [&](QStringView line) {
    if (line.isEmpty() || line.front() == u';' || line.front() == u'#') return true;
    line = Trim(line);
    if (line.isEmpty()) return true;
    if (line.startsWith(u'[') && line.endsWith(u']')) {
      section = line.mid(1, line.size() - 2).toString();
      return true;
    }
    qsizetype equals = line.indexOf(u'=');
    if (equals < 0 || section.isEmpty()) return true;
    QString value = TrimLeft(line.mid(equals + 1)).toString();
    value.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
    value.replace(QStringLiteral("\\t"), QStringLiteral("\t"));
    QString key = section;
    key += u'.';
    key += Trim(line.left(equals));
    table.insert_or_assign(std::move(key), std::move(value));
    return true;
  });

  std::unique_lock lock(mutex_);
  strings_ = std::move(table);
  return true;
}

void LanguageManager::SetLanguage(const QString& id) {
  QString path;
  {
    std::shared_lock lock(mutex_);
    for (const LanguageInfo& info : languages_) {
      if (info.Id == id) {
        path = info.Path;
        break;
      }
    }
  }
  if (path.isEmpty()) return;
  // A file that fails to load keeps the previous table; the choice is still
  // recorded, as the user made it.
  LoadLanguageFile(path);
  {
    std::unique_lock lock(mutex_);
    currentId_ = id;
  }
  Settings::SetString(setting::kLanguage, id);
  RebuildDialogFilters();
}

std::vector<LanguageInfo> LanguageManager::GetLanguages() const {
  std::shared_lock lock(mutex_);
  return languages_;
}

QString LanguageManager::GetCurrentLanguage() const {
  std::shared_lock lock(mutex_);
  return currentId_;
}

QString LanguageManager::BaseDir() const {
  std::shared_lock lock(mutex_);
  return baseDir_;
}

void LanguageManager::ResetForTesting() {
  std::unique_lock lock(mutex_);
  baseDir_.clear();
  languages_.clear();
  currentId_.clear();
  strings_.clear();
  initialized_ = false;
}

}  // namespace zelvaro
