#include "tools/console/Console.h"
#include "tools/records/Backup.h"
#include "tools/records/BatchCounts.h"
#include "tools/records/CommandLine.h"
#include "tools/records/Corrections.h"
#include "tools/records/EmployeeList.h"
#include "tools/records/Employees.h"
#include "tools/records/Hours.h"
#include "tools/records/NamelessFile.h"
#include "tools/records/Punches.h"
#include "tools/records/Restore.h"
#include "tools/sitetool/CheckDatabase.h"
#include "tools/sitetool/CheckSettingsAndPorts.h"
#include "tools/sitetool/Findings.h"
#include "tools/sitetool/Import.h"
#include "tools/sitetool/MemoryDatabase.h"

#include <QFile>

#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr char Description[] = R"(Manages the time database of a site.

Commands:
  employees [TEXT]       list badges and names, or those that contain TEXT
  employees add BADGE "NAME"
  employees rename BADGE "NAME"
  employees remove BADGE
                         change one employee; a removed one's punches stay
  employees import LIST.csv [--apply [--doubtful]]
                         show what a list from a spreadsheet would add and
                         rename, and what is wrong in it; --apply stores it,
                         --doubtful even if something only looks wrong
  punches [--badge BADGE] [--from DAY] [--to DAY]
                         list the punches of today or of a period, with the
                         numbers of their rows and what is wrong with them
  punches add BADGE in|out TIME
                         add a forgotten punch
  punches change ROW BADGE [in|out] [TIME]
                         change the type or the time of a punch
  punches remove ROW BADGE
                         remove a punch
  present                list who is in, and since when
  hours --week WEEK, or --month MONTH, or --from DAY --to DAY
                         list the hours of each badge: from each Clock In to
                         the next punch if that is a Clock Out, counted where
                         it begins
  corrections [--from DAY] [--to DAY]
                         list the changes made by these commands
  backup TARGET [--keep N]
                         make a complete copy of the database while the clock
                         runs: TARGET is a new file, or a folder for one that
                         is named after the date and time; --keep then removes
                         all but the N newest of these
  restore BACKUP [--yes] [--keep-punches]
                         write a backup into the database while the clock
                         runs, and keep a copy of the database beside it; list
                         the punches that the backup lacks, or keep them
  new [FILE]             make an empty database with the tables that the clock
                         uses
  import OLD.mdb [FILE]  make a database with all tables of a Jet 3 or Jet 4
                         database, or of a later Access file, which is not
                         changed
  check [FILE]           check the database, this user's settings and the
                         ports; report whether the clock is running and would
                         store a swipe, and which punch was stored last.
                         Changes nothing and opens no port, so it cannot
                         detect a rate or parity that the port does not
                         support. With --mend-counts it first mends the
                         batches whose RecordCount is not the number of their
                         punches

A TIME is for example "2026-03-23 16:45", or 16:45 for today. A BADGE is text:
00123 is not 123, and one that begins with a dash is typed after --. The default FILE is Orvanta.mdb in the program's folder. No
existing file is replaced, except by restore. The exit status is 0 on success,
and from check if a swipe would be stored; otherwise 1, or 2 if the command
line is invalid.)";

/// `new [FILE]`: makes an empty database with the tables that the clock uses. Throws NotDone, and
/// makes nothing, if that fails.
int makeNew(const CommandLine &line)
{
    QFile schema(u":/store/schema.sql"_s);
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");

    NamelessFile file(line.file);
    MemoryDatabase database;
    database.run(schema.readAll());
    file.write(database.bytes());
    file.publish();
    Console::say(u"Made %1."_s.arg(file.target()));
    return Console::Succeeded;
}

/// `check [FILE]`: prints a line for each finding and whether the clock would store a swipe;
/// returns Succeeded if it would. Without --mend-counts it leaves no file changed and nothing
/// locked, and opens no serial line, because opening one raises DTR, which may reset the reader. So
/// it cannot check whether the line supports the rate and parity.
int check(const CommandLine &line)
{
    if (line.has(u"mend-counts"_s))
        mendCounts(line);
    Findings findings;
    checkDatabase(line.file, findings);
    checkSettingsAndPorts(findings);
    return findings.conclude();
}

/// A name of two words precedes its first word alone.
constexpr std::array Commands{
    DatabaseCommand{{"new", 0, 1, "at most one FILE"}, "", makeNew, 0, true},
    DatabaseCommand{{"import", 1, 2, "OLD.mdb and at most one FILE"}, "", importOld, 1, true},
    DatabaseCommand{{"check", 0, 1, "at most one FILE"}, "mend-counts reason", check, 0},
    DatabaseCommand{{"employees add", 2, 2, "BADGE and \"NAME\""}, "reason", addEmployee},
    DatabaseCommand{{"employees rename", 2, 2, "BADGE and \"NAME\""}, "reason", renameEmployee},
    DatabaseCommand{{"employees remove", 1, 1, "BADGE"}, "reason", removeEmployee},
    DatabaseCommand{
        {"employees import", 1, 1, "LIST.csv"}, "apply doubtful reason", importEmployees},
    DatabaseCommand{{"employees", 0, 1, "at most one TEXT"}, "csv", listEmployees},
    DatabaseCommand{
        {"punches add", 3, 3, "BADGE, in or out, and a TIME such as \"2026-03-23 16:45\""},
        "reason",
        addPunch},
    DatabaseCommand{{"punches change", 3, 4,
                     "ROW, BADGE, and in or out or a TIME such as \"2026-03-23 16:45\""},
                    "reason",
                    changePunch},
    DatabaseCommand{{"punches remove", 2, 2, "ROW and BADGE"}, "reason", removePunch},
    DatabaseCommand{
        {"punches", 0, 0, "add, change, remove or only options"}, "badge from to csv", listPunches},
    DatabaseCommand{{"present", 0, 0, "no text"}, "csv", listPresent},
    DatabaseCommand{{"hours", 0, 0, "only options"}, "week month from to csv", listHours},
    DatabaseCommand{{"backup", 1, 1, "one TARGET"}, "keep", backUp},
    DatabaseCommand{{"restore", 1, 1, "one BACKUP"}, "yes keep-punches reason", restore},
    DatabaseCommand{{"corrections", 0, 0, "no text"}, "from to csv", listCorrections},
};

/// Options that several commands take have the same meaning in all of them.
const QList<QCommandLineOption> &options()
{
    static const QList<QCommandLineOption> all{
        {u"from"_s, u"The first day, for example 2026-03-23."_s, u"DAY"_s},
        {u"to"_s, u"The last day; today if omitted."_s, u"DAY"_s},
        {u"apply"_s, u"Store what is shown."_s},
        {u"doubtful"_s, u"Store also what looks wrong."_s},
        {u"week"_s, u"The week, for example 2026-W13."_s, u"WEEK"_s},
        {u"month"_s, u"The month, for example 2026-03."_s, u"MONTH"_s},
        {u"badge"_s, u"Only this badge."_s, u"BADGE"_s},
        {u"reason"_s, u"Why, for the list of corrections."_s, u"TEXT"_s},
        {u"mend-counts"_s, u"Mend each RecordCount that is not the number of punches."_s},
        {u"keep"_s, u"Remove all but the N newest backups from the folder."_s, u"N"_s},
        {u"keep-punches"_s, u"Add the punches that the backup lacks."_s},
        {u"yes"_s, u"Do not ask."_s},
        {u"csv"_s, u"Print CSV for a spreadsheet."_s},
    };
    return all;
}

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    return runCommands(argc, argv, Description, Commands, options());
}
