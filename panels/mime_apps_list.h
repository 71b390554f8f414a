#pragma once
// MimeAppsList: an edit of a mimeapps.list file (the freedesktop association
// file: "[Default Applications]", "[Added Associations]", "[Removed
// Associations]" groups of "type/subtype=a.desktop;b.desktop;" lines) that
// leaves every line it does not change exactly as it was: comments, blank
// lines, odd spacing, unknown groups, other applications' entries and the
// line endings go back byte for byte. Only the lines named by the calls are
// rewritten, added or dropped.
//
// A plain value; no file access here (see file_associations.h). Any thread.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace zelvaro {

class MimeAppsList {
 public:
  static MimeAppsList Parse(const QByteArray& bytes);
  QByteArray Serialize() const;

  // The first line for `key` in `group`, its value without surrounding
  // blanks; empty when there is none. `found` tells an empty value apart.
  QString Value(const QString& group, const QString& key, bool* found = nullptr) const;
  // Rewrites the first line for `key`, or adds one at the end of the group,
  // or adds the group at the end of the file.
  void SetValue(const QString& group, const QString& key, const QString& value);
  // Drops every line for `key`; a group left with no lines goes too.
  // False when there was nothing to drop.
  bool RemoveKey(const QString& group, const QString& key);

  // Desktop ids of a ";"-separated value, in order, without empty entries.
  static QStringList SplitIds(const QString& value);

 private:
  struct Line {
    QByteArray text;  // without its line end
    QByteArray end;   // "\n", "\r\n" or empty for a last line without one
  };
  static QString GroupOf(const Line& line);  // empty for a line that is no header
  static QString KeyOf(const Line& line);    // empty for a line that is no entry
  // [header, end) of each group's lines; -1 header when missing.
  struct Span {
    int header = -1;
    int end = 0;
  };
  Span FindGroup(const QString& group) const;
  void Insert(int index, const QByteArray& text);
  void Erase(int index);
  QByteArray NewLineEnd() const;

  std::vector<Line> lines_;
};

}  // namespace zelvaro
