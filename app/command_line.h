#pragma once
// The player's command line: a bare path opens a file (the first one wins),
// "-f <path>" opens that path (the last one wins over everything), and
// "-fullscreen" goes fullscreen after the file is open. Options compare with
// case ignored; unknown options are ignored.
//
// ParseCommandLine applies the rules to one command-line string, quotes and
// all. The player itself gets words the shell has already split and takes
// them through ParseArguments, which applies the same rules word by word, so
// a name holding a '"' arrives whole. ParseArguments also makes the path
// absolute against the working directory before anything else sees it, and
// notices "--help" and "--version" (GNU conventions: print, exit 0).

#include <QString>
#include <QStringList>
#include <QStringView>

namespace zelvaro {

struct CommandLine {
  QString file;
  bool fullscreen = false;
  bool help = false;
  bool version = false;
};

// Takes the next token from `position` on and moves `position` past it. A
// quoted token keeps its quotes; one without a closing quote runs to the end.
bool NextToken(QStringView commandLine, qsizetype* position, QString* token);

CommandLine ParseCommandLine(QStringView commandLine);

// `words` without the program name. "-f --help" still names a file.
CommandLine ParseArguments(const QStringList& words, const QString& workingDir);

}  // namespace zelvaro
