#include "platform/basics/Utf8Locale.h"
#include "tools/console/Console.h"
#include "tools/sitetool/CheckDatabase.h"
#include "tools/sitetool/CheckSettingsAndPorts.h"
#include "tools/sitetool/DatabasePath.h"
#include "tools/sitetool/Findings.h"
#include "tools/sitetool/Import.h"
#include "tools/sitetool/MemoryDatabase.h"
#include "tools/sitetool/NamelessFile.h"
#include "tools/sitetool/NotDone.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr char Description[] =
    "Makes, imports and checks the time database of a site.\n\n"
    "Commands:\n"
    "  new [FILE]             make an empty database with the tables that the clock uses\n"
    "  import OLD.mdb [FILE]  make a database with all tables of a Jet 3 or Jet 4 database, or of\n"
    "                         a later Access file, which is not changed\n"
    "  check [FILE]           check the database, this user's settings and the ports; report\n"
    "                         whether the clock is running and would store a swipe, and which\n"
    "                         punch was stored last. Changes nothing and opens no port, so it\n"
    "                         cannot detect a rate or parity that the port does not support\n\n"
    "The default FILE is Orvanta.mdb in the program's folder. An existing file is never replaced.\n"
    "The exit status is 0 on success, and from check if a swipe would be stored; otherwise 1, or "
    "2\n"
    "if the command line is invalid.";

/// `sitetool new [FILE]`: makes an empty database with the tables that the clock uses. Throws
/// NotDone, and makes nothing, if that fails.
int makeNew(const QStringList &arguments)
{
    QFile schema(u":/store/schema.sql"_s);
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");

    NamelessFile file(newDatabasePath(arguments.value(0)));
    MemoryDatabase database;
    database.run(schema.readAll());
    file.write(database.bytes());
    file.publish();
    Console::say(u"Made %1."_s.arg(file.target()));
    return Console::Succeeded;
}

/// `sitetool check [FILE]`: prints a line for each finding and whether the clock would store a
/// swipe; returns Succeeded if it would. Leaves no file changed and nothing locked, and opens no
/// serial line, because opening one raises DTR, which may reset the reader. So it cannot check
/// whether the line supports the rate and parity.
int check(const QStringList &arguments)
{
    Findings findings;
    checkDatabase(databasePath(arguments.value(0)), findings);
    checkSettingsAndPorts(findings);
    return findings.conclude();
}

constexpr std::array Commands{
    Console::Command{"new", 0, 1, "at most one FILE"},
    Console::Command{"import", 1, 2, "OLD.mdb and at most one FILE"},
    Console::Command{"check", 0, 1, "at most one FILE"},
};

/// In the order of Commands. Each takes the arguments after its name and returns the exit status.
constexpr std::array Actions{makeNew, importOld, check};

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
    if (mistake.isEmpty())
        mistake = Console::mistakeInCommand(Commands, arguments);
    if (!mistake.isEmpty())
        return Console::refuse(mistake);

    const QString name = arguments.takeFirst().toLower();
    const auto *const command = std::ranges::find(Commands, name, &Console::Command::name);
    try {
        return Actions[static_cast<std::size_t>(command - Commands.begin())](arguments);
    } catch (const NotDone &notDone) {
        return Console::complain(notDone.why);
    }
}
