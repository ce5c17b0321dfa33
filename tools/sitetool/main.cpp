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

/// `sitetool new [FILE]`: makes an empty database with the tables that the clock uses. Throws
/// NotDone, with nothing made, when it cannot.
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

/// `sitetool check [FILE]`: says what the clock will meet, a line for each finding, and whether it
/// would store a swipe; returns Succeeded when it would. It changes nothing: no file is made or
/// written, no lock is left, and no serial line is opened, for the first opening of a line raises
/// DTR and may start or wake the reader. So what only an opening shows is left to the clock:
/// whether a line can be set to the wanted rate and parity.
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

/// In the order of Commands. Each takes its arguments without its own name and returns the status
/// of the program.
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
