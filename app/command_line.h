#pragma once
// The player's command line: a bare path opens a file (the first one wins),
// "-f <path>" opens that path (the last one wins over everything), and
// "-fullscreen" goes fullscreen after the file is open. Options compare with
// case ignored; unknown options are ignored.
//
// The rules work on one command-line string, as they always have; on Linux
// the shell has already split the words, so JoinArguments puts them back
// together with quotes around words that hold a blank.

#include <QString>
#include <QStringList>
#include <QStringView>

namespace zelvaro {

struct CommandLine {
  QString file;
  bool fullscreen = false;
};

// Takes the next token from `position` on and moves `position` past it. A
// quoted token keeps its quotes; one without a closing quote runs to the end.
bool NextToken(QStringView commandLine, qsizetype* position, QString* token);

CommandLine ParseCommandLine(QStringView commandLine);

QString JoinArguments(const QStringList& arguments);

}  // namespace zelvaro
