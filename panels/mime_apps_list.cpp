#include "panels/mime_apps_list.h"

namespace zelvaro {

MimeAppsList MimeAppsList::Parse(const QByteArray& bytes) {
  MimeAppsList list;
  qsizetype start = 0;
  while (start < bytes.size()) {
    const qsizetype newline = bytes.indexOf('\n', start);
    Line line;
    if (newline < 0) {
      line.text = bytes.mid(start);
      start = bytes.size();
    } else {
      line.text = bytes.mid(start, newline - start);
      line.end = "\n";
      start = newline + 1;
    }
    if (line.text.endsWith('\r') && !line.end.isEmpty()) {
      line.text.chop(1);
      line.end = "\r\n";
    }
    list.lines_.push_back(std::move(line));
  }
  return list;
}

QByteArray MimeAppsList::Serialize() const {
  QByteArray bytes;
  for (const Line& line : lines_) bytes += line.text + line.end;
  return bytes;
}

QString MimeAppsList::GroupOf(const Line& line) {
  const QByteArray trimmed = line.text.trimmed();
  if (trimmed.size() < 2 || !trimmed.startsWith('[') || !trimmed.endsWith(']')) return {};
  return QString::fromUtf8(trimmed.mid(1, trimmed.size() - 2));
}

QString MimeAppsList::KeyOf(const Line& line) {
  const QByteArray trimmed = line.text.trimmed();
  if (trimmed.startsWith('#') || trimmed.startsWith('[')) return {};
  const qsizetype equals = trimmed.indexOf('=');
  if (equals <= 0) return {};
  return QString::fromUtf8(trimmed.left(equals).trimmed());
}

MimeAppsList::Span MimeAppsList::FindGroup(const QString& group) const {
  Span span;
  for (int i = 0; i < static_cast<int>(lines_.size()); ++i) {
    const QString name = GroupOf(lines_[i]);
    if (name.isEmpty()) continue;
    if (span.header >= 0) {
      span.end = i;
      return span;
    }
    if (name == group) span.header = i;
  }
  span.end = static_cast<int>(lines_.size());
  return span;
}

QString MimeAppsList::Value(const QString& group, const QString& key, bool* found) const {
  if (found) *found = false;
  const Span span = FindGroup(group);
  if (span.header < 0) return {};
  for (int i = span.header + 1; i < span.end; ++i) {
    if (KeyOf(lines_[i]) != key) continue;
    if (found) *found = true;
    const QByteArray& text = lines_[i].text;
    return QString::fromUtf8(text.mid(text.indexOf('=') + 1).trimmed());
  }
  return {};
}

QByteArray MimeAppsList::NewLineEnd() const {
  for (const Line& line : lines_) {
    if (!line.end.isEmpty()) return line.end;
  }
  return "\n";
}

void MimeAppsList::Insert(int index, const QByteArray& text) {
  Line line{text, NewLineEnd()};
  // A file without a final line end keeps that shape: the new last line
  // takes over the missing end, so dropping it again restores the bytes.
  if (index == static_cast<int>(lines_.size()) && index > 0 && lines_.back().end.isEmpty()) {
    lines_.back().end = line.end;
    line.end.clear();
  }
  lines_.insert(lines_.begin() + index, std::move(line));
}

void MimeAppsList::Erase(int index) {
  if (lines_[index].end.isEmpty() && index > 0) lines_[index - 1].end.clear();
  lines_.erase(lines_.begin() + index);
}

void MimeAppsList::SetValue(const QString& group, const QString& key, const QString& value) {
  const QByteArray text = key.toUtf8() + '=' + value.toUtf8();
  const Span span = FindGroup(group);
  if (span.header < 0) {
    Insert(static_cast<int>(lines_.size()), '[' + group.toUtf8() + ']');
    Insert(static_cast<int>(lines_.size()), text);
    return;
  }
  int after = span.header;
  for (int i = span.header + 1; i < span.end; ++i) {
    if (KeyOf(lines_[i]) == key) {
      // Only the value changes: the key's spacing and trailing blanks stay.
      QByteArray& line = lines_[i].text;
      qsizetype start = line.indexOf('=') + 1;
      while (start < line.size() && (line[start] == ' ' || line[start] == '\t')) ++start;
      qsizetype end = line.size();
      while (end > start && (line[end - 1] == ' ' || line[end - 1] == '\t')) --end;
      line = line.left(start) + value.toUtf8() + line.mid(end);
      return;
    }
    if (!lines_[i].text.trimmed().isEmpty()) after = i;
  }
  // After the group's last line, ahead of the blank lines that part it from the next.
  Insert(after + 1, text);
}

bool MimeAppsList::RemoveKey(const QString& group, const QString& key) {
  // A group named twice (a hand edit, another tool) is one group to the
  // desktop, so the key goes from each of them.
  bool removed = false;
  for (int header = 0; header < static_cast<int>(lines_.size()); ++header) {
    if (GroupOf(lines_[header]) != group) continue;
    int end = header + 1;
    while (end < static_cast<int>(lines_.size()) && GroupOf(lines_[end]).isEmpty()) ++end;
    bool removedHere = false;
    bool othersLeft = false;
    for (int i = end - 1; i > header; --i) {
      if (KeyOf(lines_[i]) == key) {
        Erase(i);
        removedHere = true;
      } else if (!lines_[i].text.trimmed().isEmpty()) {
        othersLeft = true;
      }
    }
    if (removedHere && !othersLeft) Erase(header--);
    removed = removed || removedHere;
  }
  return removed;
}

QStringList MimeAppsList::SplitIds(const QString& value) {
  QStringList ids;
  for (const QString& part : value.split(u';')) {
    const QString id = part.trimmed();
    if (!id.isEmpty()) ids << id;
  }
  return ids;
}

}  // namespace zelvaro
