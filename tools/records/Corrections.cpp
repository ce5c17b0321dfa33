#include "tools/records/Corrections.h"

#include "tools/console/Console.h"
#include "tools/console/TextTable.h"
#include "tools/records/Period.h"
#include "tools/records/TimeDatabase.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

int listCorrections(const CommandLine &line)
{
    const bool isAll = !line.has(u"from"_s) && !line.has(u"to"_s);
    const Period period = periodOf(line);
    TimeDatabase database(line.file);
    const QStringList headings{"When", "User", "Change", "Before", "After", "Reason"};
    TextTable table(headings);
    if (database.value(u"SELECT 1 FROM sqlite_master WHERE name = 'Correction'"_s).isValid()) {
        Statement rows =
            database.statement(u"SELECT DateTime, UserName, Change, Was, Became, Reason "
                               "FROM Correction WHERE ?3 OR (DateTime >= ?1 AND DateTime < ?2) "
                               "ORDER BY _rowid_"_s,
                               {period.begin(), period.end(), isAll ? 1 : 0});
        while (rows.step()) {
            QStringList cells;
            for (int i = 0; i < headings.size(); ++i)
                cells += rows.value(i).toVariant().toString();
            table.add(cells);
        }
    }
    table.print(line.format());
    return Console::Succeeded;
}

} // namespace Tavrel
