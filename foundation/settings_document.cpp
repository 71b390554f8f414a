#include "foundation/settings_document.h"

#include <QList>
#include <QStringDecoder>

#include <algorithm>
#include <cstring>

namespace zelvaro {
namespace {

constexpr char kMainSection[] = "[Zelvaro]";
constexpr char kBackupSection[] = "[Backup]";

QByteArray Utf16Bytes(QStringView text, bool withTerminator) {
  QByteArray bytes;
  bytes.reserve((text.size() + 1) * 2);
  for (QChar c : text) {
    bytes.append(static_cast<char>(c.unicode() & 0xFF));
    bytes.append(static_cast<char>(c.unicode() >> 8));
  }
  if (withTerminator) bytes.append(2, '\0');
  return bytes;
}

QString FromUtf16Bytes(const QByteArray& bytes) {
  QString text(bytes.size() / 2, Qt::Uninitialized);
  for (qsizetype i = 0; i < text.size(); ++i) {
    text[i] = QChar(static_cast<char16_t>(static_cast<uint8_t>(bytes[2 * i]) |
                                          (static_cast<uint8_t>(bytes[2 * i + 1]) << 8)));
  }
  return text;
}

// The "sz:\"...\"" form is used only for data that reads back exactly: whole
// code units, one terminator at the end and none before it.
bool IsPlainString(const QByteArray& data) {
  if (data.size() < 2 || data.size() % 2 != 0) return false;
  for (qsizetype i = 0; i + 2 < data.size(); i += 2) {
    if (data[i] == 0 && data[i + 1] == 0) return false;
  }
  return data[data.size() - 2] == 0 && data[data.size() - 1] == 0;
}

bool NeedsEscape(char16_t c, bool inName, bool atEdge) {
  if (c < 0x20 || c == 0x7F || QChar::isSurrogate(c)) return true;
  if (c == u'\\' || c == u'"') return true;
  if (inName && (c == u'=' || c == u'[' || c == u'#')) return true;
  return inName && atEdge && c == u' ';
}

QByteArray Escape(QStringView text, bool inName) {
  QString out;
  out.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    char16_t c = text[i].unicode();
    // A valid surrogate pair goes through as the character it encodes.
    if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
      out.append(text[i]);
      out.append(text[++i]);
      continue;
    }
    bool atEdge = i == 0 || i + 1 == text.size();
    if (c == u'\\' || c == u'"') {
      out.append(u'\\');
      out.append(QChar(c));
    } else if (NeedsEscape(c, inName, atEdge)) {
      out.append(QStringLiteral("\\u%1").arg(static_cast<unsigned>(c), 4, 16, QLatin1Char('0')));
    } else {
      out.append(QChar(c));
    }
  }
  return out.toUtf8();
}

std::optional<QString> Unescape(QStringView text) {
  QString out;
  out.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (text[i] != u'\\') {
      if (text[i] == u'"') return std::nullopt;  // a bare quote inside a string
      out.append(text[i]);
      continue;
    }
    if (++i >= text.size()) return std::nullopt;
    if (text[i] == u'\\' || text[i] == u'"') {
      out.append(text[i]);
    } else if (text[i] == u'u' && i + 4 < text.size()) {
      bool ok = false;
      uint code = text.mid(i + 1, 4).toUInt(&ok, 16);
      if (!ok) return std::nullopt;
      out.append(QChar(static_cast<char16_t>(code)));
      i += 4;
    } else {
      return std::nullopt;
    }
  }
  return out;
}

std::optional<QByteArray> ParseHex(QStringView hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  for (QChar c : hex) {
    if (!c.isDigit() && !(c >= u'a' && c <= u'f') && !(c >= u'A' && c <= u'F')) return std::nullopt;
  }
  return QByteArray::fromHex(hex.toLatin1());
}

std::optional<StoredValue> ParseValue(QStringView text) {
  auto takePrefix = [&text](QStringView prefix) {
    if (!text.startsWith(prefix)) return false;
    text = text.mid(prefix.size());
    return true;
  };
  StoredValue value;
  if (takePrefix(u"dword:")) {
    bool ok = false;
    qulonglong number =
        text.startsWith(u"0x") ? text.mid(2).toULongLong(&ok, 16) : text.toULongLong(&ok, 10);
    if (!ok || number > 0xFFFFFFFFull || text.isEmpty() || text[0] == u'+' || text[0] == u'-')
      return std::nullopt;
    return StoredValue::Dword(static_cast<uint32_t>(number));
  }
  if (takePrefix(u"binary:")) {
    auto bytes = ParseHex(text);
    if (!bytes) return std::nullopt;
    return StoredValue{SettingType::Binary, *bytes};
  }
  if (takePrefix(u"sz:")) {
    value.type = SettingType::String;
  } else if (takePrefix(u"expand_sz:")) {
    value.type = SettingType::ExpandString;
  } else {
    return std::nullopt;
  }
  if (takePrefix(u"hex:")) {
    auto bytes = ParseHex(text);
    if (!bytes) return std::nullopt;
    value.data = *bytes;
    return value;
  }
  if (text.size() < 2 || !text.startsWith(u'"') || !text.endsWith(u'"')) return std::nullopt;
  auto unescaped = Unescape(text.mid(1, text.size() - 2));
  if (!unescaped) return std::nullopt;
  value.data = Utf16Bytes(*unescaped, true);
  return value;
}

QByteArray SerializeValue(const StoredValue& value) {
  switch (value.type) {
    case SettingType::Dword: {
      uint32_t number = 0;
      if (value.data.size() == 4) std::memcpy(&number, value.data.constData(), 4);
      return "dword:" + QByteArray::number(number);
    }
    case SettingType::Binary:
      return "binary:" + value.data.toHex();
    case SettingType::String:
    case SettingType::ExpandString: {
      QByteArray prefix = value.type == SettingType::String ? "sz:" : "expand_sz:";
      if (!IsPlainString(value.data)) return prefix + "hex:" + value.data.toHex();
      QString text = FromUtf16Bytes(value.data);
      text.chop(1);
      return prefix + '"' + Escape(text, false) + '"';
    }
  }
  return {};
}

}  // namespace

StoredValue StoredValue::Dword(uint32_t number) {
  QByteArray data(4, '\0');
  std::memcpy(data.data(), &number, 4);  // little-endian on every target we build for
  return StoredValue{SettingType::Dword, data};
}

StoredValue StoredValue::String(QStringView text) {
  return StoredValue{SettingType::String, Utf16Bytes(text, true)};
}

const StoredValue* SettingsDocument::Find(SettingScope scope, QStringView name) const {
  const Map& map = ScopeMap(scope);
  auto it = map.find(name.toString().toCaseFolded());
  return it == map.end() ? nullptr : &it->second.value;
}

bool SettingsDocument::Set(SettingScope scope, QStringView name, const StoredValue& value) {
  Map& map = ScopeMap(scope);
  auto [it, inserted] =
      map.try_emplace(name.toString().toCaseFolded(), Entry{name.toString(), value});
  if (inserted) return true;
  if (it->second.value == value) return false;
  it->second.value = value;
  return true;
}

bool SettingsDocument::Remove(SettingScope scope, QStringView name) {
  return ScopeMap(scope).erase(name.toString().toCaseFolded()) > 0;
}

QByteArray SettingsDocument::Serialize() const {
  QByteArray out =
      "# Zelvaro settings. Written by the player; edit only while it is not running.\n";
  auto writeKept = [this, &out](std::optional<SettingScope> scope) {
    for (const KeptLine& line : kept_) {
      if (line.scope == scope) out += line.text.toUtf8() + '\n';
    }
  };
  auto hasKept = [this](SettingScope scope) {
    return std::any_of(kept_.begin(), kept_.end(),
                       [scope](const KeptLine& line) { return line.scope == scope; });
  };
  auto writeScope = [&](const char* header, SettingScope scope) {
    out += header;
    out += '\n';
    for (const auto& [key, entry] : ScopeMap(scope)) {
      out += Escape(entry.name, true) + '=' + SerializeValue(entry.value) + '\n';
    }
    writeKept(scope);
  };
  // Lines that belong to no section stay before the first one.
  writeKept(std::nullopt);
  writeScope(kMainSection, SettingScope::Main);
  if (!backup_.empty() || hasKept(SettingScope::Backup)) {
    out += '\n';
    writeScope(kBackupSection, SettingScope::Backup);
  }
  return out;
}

std::optional<SettingsDocument> SettingsDocument::Parse(const QByteArray& bytes, QString* error) {
  QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  QString text = decoder(bytes);
  if (decoder.hasError()) {
    if (error) *error = QStringLiteral("not UTF-8");
    return std::nullopt;
  }
  if (text.startsWith(QChar(0xFEFF))) text.remove(0, 1);

  SettingsDocument document;
  std::optional<SettingScope> scope;
  int lineNumber = 0;
  auto keep = [&](QStringView line, const char* why) {
    if (error && error->isEmpty()) {
      *error = QStringLiteral("line %1: %2").arg(lineNumber).arg(QLatin1String(why));
    }
    document.kept_.push_back(KeptLine{scope, line.toString()});
  };
  for (QStringView line : QStringView(text).split(u'\n')) {
    ++lineNumber;
    // The writer never puts a CR into a line, so every CR at its end is part
    // of the line end (CR CR LF from an editor); one kept would come back as
    // a line end of its own.
    while (line.endsWith(u'\r')) line.chop(1);
    if (line.trimmed().isEmpty() || line.startsWith(u'#')) continue;
    if (line == QLatin1String(kMainSection)) {
      scope = SettingScope::Main;
      continue;
    }
    if (line == QLatin1String(kBackupSection)) {
      scope = SettingScope::Backup;
      continue;
    }
    if (line.startsWith(u'[')) {
      // What follows belongs to that section, not to the one before it.
      scope.reset();
      keep(line, "unknown section");
      continue;
    }
    if (!scope) {
      keep(line, "value outside a section");
      continue;
    }
    const qsizetype equals = line.indexOf(u'=');
    auto name = equals > 0 ? Unescape(line.left(equals)) : std::nullopt;
    auto value = equals > 0 ? ParseValue(line.mid(equals + 1)) : std::nullopt;
    if (!name || name->isEmpty() || !value) {
      keep(line, "unreadable value");
      continue;
    }
    document.Set(*scope, *name, *value);
  }
  return document;
}

}  // namespace zelvaro
