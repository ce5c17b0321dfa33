#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <functional>
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

/// The name of a user, or the number if it has none.
QString userName(uid_t id);

/// Writes "PROGRAM: WHY" to standard error, with visible(why). Returns Failed.
Status complain(const QString &why);

/// Thrown if the command line is invalid, with what is wrong as one sentence.
struct Mistake {
    QString what;
};

/// A command of a tool: its first argument, or its first two if the name has two words, in upper or
/// lower case; and how many others it takes.
struct Command {
    const char *name;
    qsizetype fewest;
    qsizetype most;
    const char *takes; ///< the others, for a message

    qsizetype words() const;
};

/// Returns the first of `commands` that `arguments` begin with. Throws Mistake if there is none, or
/// if the number of the other arguments is wrong.
const Command &commandOf(std::span<const Command> commands, const QStringList &arguments);

/// Parses the arguments of the program, then returns the exit status of `action`. Answers the
/// options for help and version itself. Reports a Mistake as NotUnderstood, a NotDone with its own
/// status, and a Failure, and output that could not be written, as Failed.
int run(QCommandLineParser &parser, const std::function<int()> &action);

} // namespace Console

} // namespace Tavrel
