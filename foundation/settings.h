#pragma once
// Settings: the one persistent store of user state. Flat, typed, per-user
// values in two scopes: the main scope and `Backup` (what file association
// replaced). Names come from foundation/setting_names.h.
//
// Semantics kept from the registry these values were first kept in:
// - DWORD and string values are distinct; a value of the other type reads as
//   absent (the out variable is left untouched).
// - A read never fails loudly and never creates anything: the caller presets
//   its default in the out variable and keeps it when the read returns false.
// - Main-scope strings are read through a 1024-byte buffer: 511 characters
//   read back, 512 or more read as absent. Backup strings have no limit.
// - A string stored without its terminator (odd byte count, no final NUL)
//   reads as absent rather than as a cut string.
//
// Storage: $XDG_CONFIG_HOME/zelvaro/settings.conf, a UTF-8 text file. Every
// write is a read-modify-write under an exclusive file lock, written to a
// temporary file and renamed over, so two running players never corrupt the
// file or lose each other's values. An unreadable line is skipped (its value
// reads as absent) and written back as it was. A damaged file (not UTF-8, or
// over the size limit) reads as all defaults; the next write moves it aside
// (settings.conf.damaged-<time>) instead of overwriting it.
//
// Thread-safe: called from the interface thread, the update thread and graph
// set-up. Reads are served from a cache that is checked against the file on
// every call, so a value another process wrote is seen at the next read.

#include <QString>
#include <QStringView>

#include <cstdint>

namespace zelvaro::Settings {

bool GetDword(QStringView name, uint32_t* value);
bool SetDword(QStringView name, uint32_t value);
bool GetString(QStringView name, QString* value);
bool SetString(QStringView name, QStringView value);

bool GetBackupString(QStringView name, QString* value);
bool SetBackupString(QStringView name, QStringView value);
bool DeleteBackupValue(QStringView name);

// Conveniences for the common "preset the default, then read" pattern.
inline uint32_t GetDwordOr(QStringView name, uint32_t defaultValue) {
  GetDword(name, &defaultValue);
  return defaultValue;
}
inline bool GetBoolOr(QStringView name, bool defaultValue) {
  uint32_t value = defaultValue ? 1 : 0;
  GetDword(name, &value);
  return value != 0;
}
inline QString GetStringOr(QStringView name, const QString& defaultValue) {
  QString value = defaultValue;
  GetString(name, &value);
  return value;
}

// The file behind the store, as of now (follows XDG_CONFIG_HOME).
QString StoreFilePath();

}  // namespace zelvaro::Settings
