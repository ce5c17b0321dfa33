#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <span>

namespace Tavrel
{

/// What the tools have in common at a terminal: their words, their status and their command line.
namespace Console
{

enum Status { Succeeded = 0, Failed = 1, NotUnderstood = 2 };

/// `text` as one line without anything that a terminal obeys or that looks like something else:
/// control and formatting characters, which change the direction of text among others, and spaces
/// other than the blank are written as in \x1B or \u202E, and a backslash is doubled.
QString visible(const QString &text);

/// Writes `line`, as visible() shows it, to the standard output, at once.
void say(const QString &line);

/// The name that the program was called by, without its folder: what to type to call it again.
QString program();

/// Writes "PROGRAM: WHY", WHY as visible() shows it, to the standard error. Returns Failed.
Status complain(const QString &why);

/// Complains of a command line that is not understood, and points at --help. Returns
/// NotUnderstood.
Status refuse(const QString &mistake);

/// A command of a tool, the first of its arguments in any case, and how many others it takes.
struct Command {
    const char *name;
    qsizetype fewest;
    qsizetype most;
    const char *takes; ///< the others in words
};

/// What is wrong with the command that `arguments` begin with or with the number of the others;
/// empty when nothing is.
QString mistakeInCommand(std::span<const Command> commands, const QStringList &arguments);

/// Parses the arguments of the program, --help and --version among them: either is answered and
/// ends the process with Succeeded. Returns what is wrong with the arguments, empty for nothing.
QString parse(QCommandLineParser &parser);

} // namespace Console

} // namespace Tavrel
