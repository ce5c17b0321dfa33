#include "tools/records/CommandLine.h"

#include "platform/basics/Utf8Locale.h"
#include "tools/records/DatabasePath.h"

#include <QCoreApplication>

#include <algorithm>
#include <vector>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// Runs the command of a parsed command line.
int perform(const QCommandLineParser &parser, std::span<const DatabaseCommand> commands,
            const QList<QCommandLineOption> &options)
{
    CommandLine line{parser.positionalArguments(), {}, {}};
    std::vector<Console::Command> names(commands.size());
    std::ranges::transform(commands, names.begin(), &DatabaseCommand::command);
    const Console::Command &name = Console::commandOf(names, line.arguments);
    const DatabaseCommand &command = commands[static_cast<std::size_t>(&name - names.data())];
    line.arguments.remove(0, name.words());

    const QStringList taken = QString::fromLatin1(command.options).split(u' ') << u"file"_s;
    for (const QCommandLineOption &option : options) {
        if (!parser.isSet(option))
            continue;
        const QString key = option.names().constFirst();
        if (!taken.contains(key))
            throw Console::Mistake{
                u"%1 does not take --%2."_s.arg(QLatin1StringView(name.name), key)};
        line.options.insert(key, option.valueName().isEmpty() ? QString() : parser.value(option));
    }
    QString file = line.options.value(u"file"_s);
    if (command.filePosition >= 0 && line.arguments.size() > command.filePosition) {
        if (line.has(u"file"_s))
            throw Console::Mistake{u"The database is given twice."_s};
        file = line.arguments.takeLast();
    }
    line.file = command.makesFile ? newDatabasePath(file) : databasePath(file);
    return command.run(line);
}

} // namespace

int runCommands(int argc, char *argv[], const char *description,
                std::span<const DatabaseCommand> commands, QList<QCommandLineOption> options)
{
    chooseUtf8Locale();
    const QCoreApplication application(argc, argv);
    options.prepend(
        {u"file"_s, u"The database, instead of Orvanta.mdb in the program's folder."_s, u"FILE"_s});
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.addPositionalArgument(u"command"_s, u"as above, with its arguments"_s);
    parser.addOptions(options);
    return Console::run(parser, [&] { return perform(parser, commands, options); });
}

} // namespace Tavrel
