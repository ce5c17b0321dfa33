#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/forward/Pass.h"
#include "tools/forward/Status.h"
#include "tools/records/CommandLine.h"

#include <QFile>
#include <QRegularExpression>

#include <sqlite3.h>

#include <array>
#include <iostream>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr char Description[] =
    R"(Forwards the punches of a door to an office, a PostgreSQL database that
receives those of several doors.

Commands:
  schema                 print the SQL that makes or upgrades the schema tavrel
                         at the office, for psql
  door NAME              print the SQL that makes a door and its login role, for
                         psql
  adopt [FILE]           bind the database to the door that one logs in as
  run [FILE] [--withdraw] [--employees]
                         send each punch that the office lacks, and have it
                         mark those that were removed or changed here as
                         withdrawn
  status [FILE]          report on the last pass, list the days on which the
                         office has other punches, and the rows that cannot be
                         sent

The office is found by the conventions of PostgreSQL's programs: PGHOST,
PGDATABASE, PGUSER, PGSSLMODE and the like, a service file (PGSERVICE), and a
password file. The default FILE is Orvanta.mdb in the program's folder.

The exit status is 0 on success, and from status if the office has all punches;
75 if the office cannot be reached; 2 if the command line is invalid; and
otherwise 1.)";

int printSchema(const CommandLine &)
{
    QFile schema(u":/forward/office.sql"_s);
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");
    std::cout << schema.readAll().constData();
    return Console::Succeeded;
}

/// Throws Console::Mistake for a name that psql would have to quote.
int printDoor(const CommandLine &line)
{
    const QString name = line.arguments[0];
    static const QRegularExpression Form(u"^(?!pg_|tavrel_door\\z)[a-z][a-z0-9_]{0,62}\\z"_s);
    if (!Form.match(name).hasMatch())
        throw Console::Mistake{u"\"%1\" is not a name of a door; expected up to 63 small letters a "
                               "to z, digits and underscores, for example north."_s.arg(name)};
    // One door cannot take up all connections of the office. A pass needs one; those of passes that
    // were cut off stay for a while.
    std::cout << qPrintable(u"BEGIN;\n"
                            "CREATE ROLE \"%1\" LOGIN CONNECTION LIMIT 10 IN ROLE tavrel_door;\n"
                            "INSERT INTO tavrel.door (door) VALUES ('%1');\n"
                            "COMMIT;\n"_s.arg(name));
    return Console::Succeeded;
}

constexpr std::array Commands{
    DatabaseCommand{{"schema", 0, 0, "no text"}, "", printSchema},
    DatabaseCommand{{"door", 1, 1, "one NAME"}, "", printDoor},
    DatabaseCommand{{"adopt", 0, 1, "at most one FILE"}, "", adopt, 0},
    DatabaseCommand{{"run", 0, 1, "at most one FILE"}, "withdraw employees", run, 0},
    DatabaseCommand{{"status", 0, 1, "at most one FILE"}, "", showStatus, 0},
};

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    // A scan is a third faster when SQLite does not lock a connection at each call.
    sqlite3_config(SQLITE_CONFIG_MULTITHREAD);
    return runCommands(argc, argv, Description, Commands,
                       {{u"withdraw"_s, u"Withdraw also more punches than usual."_s},
                        {u"employees"_s, u"Make the database's employees those of the office."_s}});
}
