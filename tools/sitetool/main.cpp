#include "platform/basics/Utf8Locale.h"
#include "tools/console/Console.h"
#include "tools/sitetool/Check.h"
#include "tools/sitetool/Import.h"
#include "tools/sitetool/New.h"
#include "tools/sitetool/NotDone.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr char Description[] =
    "Looks after the time database of a site.\n\n"
    "Commands:\n"
    "  new [FILE]             make an empty database with the tables that the clock uses\n"
    "  import OLD.mdb [FILE]  make a database with all tables of a Jet 3 or Jet 4 database, or of\n"
    "                         a later Access file, which is only read\n"
    "  check [FILE]           say what the clock will meet in the database, the settings of this\n"
    "                         user and the ports, whether it runs and would store a swipe, and\n"
    "                         which punch was stored last. Nothing is changed and no port is\n"
    "                         opened, so a rate or parity that the port does not take is not "
    "seen\n\n"
    "FILE is Orvanta.mdb in the program's folder unless named. A file that exists is never\n"
    "replaced. The status is 0 when it is done, or when check finds that a swipe would be stored;\n"
    "1 when it is not, 2 when the command is not understood.";

/// A command takes its arguments without its own name and returns the status of the program.
struct Command {
    const char *name;
    qsizetype fewest;
    qsizetype most;
    int (*run)(const QStringList &arguments);
};
constexpr Command Commands[] = {
    {"new", 0, 1, makeNew}, {"import", 1, 2, importOld}, {"check", 0, 1, check}};

/// What is wrong with the command line, in words; empty when nothing is.
QString mistakeIn(const QStringList &arguments, const Command *command)
{
    if (arguments.isEmpty())
        return u"A command is missing: new, import or check."_s;
    if (command == std::end(Commands))
        return u"There is no command %1."_s.arg(arguments[0]);
    if (arguments.size() - 1 < command->fewest)
        return u"%1 needs the path of the old database."_s.arg(arguments[0]);
    if (arguments.size() - 1 > command->most)
        return u"%1 is one argument too many for %2."_s.arg(arguments[command->most + 1],
                                                            arguments[0]);
    return {};
}

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    chooseUtf8Locale();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    parser.addPositionalArgument(u"command"_s, u"new, import or check"_s);
    parser.addPositionalArgument(u"files"_s, u"as above"_s, u"[OLD.mdb] [FILE]"_s);
    QString mistake = Console::parse(parser);

    QStringList arguments = parser.positionalArguments();
    const auto *command = std::ranges::find_if(Commands, [&](const Command &known) {
        return arguments.value(0) == QLatin1String(known.name);
    });
    if (mistake.isEmpty())
        mistake = mistakeIn(arguments, command);
    if (!mistake.isEmpty())
        return Console::refuse(mistake);

    try {
        arguments.removeFirst();
        return command->run(arguments);
    } catch (const NotDone &notDone) {
        return Console::complain(notDone.why);
    }
}
