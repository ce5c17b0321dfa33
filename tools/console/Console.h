#pragma once

#include <QCommandLineParser>
#include <QString>

/// What the tools have in common at a terminal: their words, their status and their command line.
namespace Console
{

enum Status { Succeeded = 0, Failed = 1, NotUnderstood = 2 };

/// Writes `line` to the standard output, at once.
void say(const QString &line);

/// Writes "NAME: WHY" to the standard error, NAME being the program's. Returns Failed.
Status complain(const QString &why);

/// Complains of a command line that is not understood, and points at --help. Returns
/// NotUnderstood.
Status refuse(const QString &mistake);

/// `text` without anything that a terminal obeys: the characters outside 32 to 126 are written as
/// in \x1B or \u20AC, and a backslash is doubled.
QString visible(const QString &text);

/// Parses the arguments of the program, --help and --version among them: either is answered and
/// ends the process with Succeeded. Returns what is wrong with the arguments, empty for nothing.
QString parse(QCommandLineParser &parser);

} // namespace Console
