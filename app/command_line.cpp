#include "app/command_line.h"

#include "foundation/shell_paths.h"

namespace zelvaro {
namespace {

bool IsBlank(QChar c) {
  return c == u' ' || c == u'\t';
}

QString WithoutEnclosingQuotes(const QString& token) {
  if (token.size() >= 2 && token.front() == u'"' && token.back() == u'"') {
    return token.mid(1, token.size() - 2);
  }
  return token;
}

}  // namespace

bool NextToken(QStringView commandLine, qsizetype* position, QString* token) {
  token->clear();
  qsizetype at = *position;
  if (at >= commandLine.size()) return false;
  while (at < commandLine.size() && IsBlank(commandLine[at])) ++at;
  if (at >= commandLine.size()) {
    *position = at;
    return false;
  }
  qsizetype end = at;
  if (commandLine[at] == u'"') {
    end = commandLine.indexOf(u'"', at + 1);
    end = end < 0 ? commandLine.size() : end + 1;
    *token = commandLine.mid(at, end - at).toString();
    *position = end;
    return true;
  }
  while (end < commandLine.size() && !IsBlank(commandLine[end])) ++end;
  *token = commandLine.mid(at, end - at).toString();
  *position = end;
  return !token->isEmpty();
}

CommandLine ParseCommandLine(QStringView commandLine) {
  CommandLine result;
  qsizetype position = 0;
  QString token;
  bool haveFile = false;
  while (NextToken(commandLine, &position, &token)) {
    if (token.compare(u"-f", Qt::CaseInsensitive) == 0) {
      QString path;
      if (NextToken(commandLine, &position, &path)) {
        result.file = WithoutEnclosingQuotes(path);
        haveFile = true;
      }
    } else if (token.compare(u"-fullscreen", Qt::CaseInsensitive) == 0) {
      result.fullscreen = true;
    } else if (!token.isEmpty() && !token.startsWith(u'-') && !haveFile) {
      result.file = WithoutEnclosingQuotes(token);
      haveFile = true;
    }
  }
  return result;
}

CommandLine ParseArguments(const QStringList& words, const QString& workingDir) {
  CommandLine result;
  bool haveFile = false;
  for (qsizetype i = 0; i < words.size(); ++i) {
    const QString& word = words[i];
    if (word.compare(u"-f", Qt::CaseInsensitive) == 0) {
      if (i + 1 < words.size()) {
        result.file = words[++i];
        haveFile = true;
      }
    } else if (word.compare(u"-fullscreen", Qt::CaseInsensitive) == 0) {
      result.fullscreen = true;
    } else if (word == u"--help") {
      result.help = true;
    } else if (word == u"--version") {
      result.version = true;
    } else if (!word.isEmpty() && !word.startsWith(u'-') && !haveFile) {
      result.file = word;
      haveFile = true;
    }
  }
  result.file = AbsoluteInputPath(result.file, workingDir);
  return result;
}

}  // namespace zelvaro
