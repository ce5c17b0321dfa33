#pragma once

#include "tools/console/Console.h"
#include "tools/console/TextTable.h"

#include <QCommandLineOption>
#include <QMap>
#include <QString>
#include <QStringList>

#include <span>

namespace Tavrel
{

/// What a command receives.
struct CommandLine {
    QStringList arguments;          ///< after the command's name
    QMap<QString, QString> options; ///< values by name, without the dashes; empty for a switch
    QString file;                   ///< the database

    bool has(const QString &option) const { return options.contains(option); }

    TextTable::Format format() const
    {
        return has(QStringLiteral("csv")) ? TextTable::Csv : TextTable::Aligned;
    }
};

/// A command of a tool that works on a time database.
struct DatabaseCommand {
    Console::Command command;
    const char *options; ///< those that it takes beside --file, with blanks between them
    int (*run)(const CommandLine &line);
    int filePosition = -1; ///< of FILE among the arguments, if it may be given there too
    bool makesFile = false;
};

/// Runs the program: parses its arguments and runs the command that they name. `options` are those
/// of all commands, beside --file. Returns the exit status.
int runCommands(int argc, char *argv[], const char *description,
                std::span<const DatabaseCommand> commands, QList<QCommandLineOption> options);

} // namespace Tavrel
