#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <span>

namespace Tavrel
{

/// What the command-line tools share: output, exit status and the parsing of arguments.
namespace Console
{

enum Status { Succeeded = 0, Failed = 1, NotUnderstood = 2 };

/// Returns `text` as one line that is safe to print on a terminal and shows what it contains:
/// control and formatting characters (such as those that change the direction of text) and spaces
/// other than U+0020 become \x1B or \u202E and the like, and a backslash is doubled.
QString visible(const QString &text);

/// Writes visible(line) to standard output and flushes it.
void say(const QString &line);

/// The name by which the program was called, without its folder.
QString program();

/// Writes "PROGRAM: WHY" to standard error, with visible(why). Returns Failed.
Status complain(const QString &why);

/// Reports what is wrong with the command line, and mentions --help. Returns NotUnderstood.
Status refuse(const QString &mistake);

/// A command of a tool: its first argument, in upper or lower case, and how many others it takes.
struct Command {
    const char *name;
    qsizetype fewest;
    qsizetype most;
    const char *takes; ///< the others, for a message
};

/// Returns what is wrong with the command, the first of `arguments`, or with the number of the
/// others; empty if both are valid.
QString mistakeInCommand(std::span<const Command> commands, const QStringList &arguments);

/// Parses the arguments of the program. For --help and --version it prints the answer and exits
/// with Succeeded. Returns what is wrong with the arguments; empty if they are valid.
QString parse(QCommandLineParser &parser);

} // namespace Console

} // namespace Tavrel
