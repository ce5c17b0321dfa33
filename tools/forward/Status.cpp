#include "tools/forward/Status.h"

#include "tools/console/NotDone.h"
#include "tools/forward/DoorFile.h"
#include "tools/forward/Office.h"
#include "tools/forward/State.h"
#include "tools/records/Forwarding.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// Prints the rows that cannot be sent; returns their number.
qint64 listUnsendable(DoorFile &file)
{
    constexpr qint64 MostListed = 100;
    qint64 count = 0;
    TextTable table({">Row", "Badge", "Cannot be sent"});
    file.read([&](const PunchRow &punch) {
        if (punch.reason && ++count <= MostListed)
            table.add({QString::number(punch.row), QString::fromUtf8(punch.badge),
                       QString::fromLatin1(punch.reason)});
    });
    if (count > 0)
        table.print(TextTable::Aligned);
    if (count > MostListed)
        Console::say(u"And %1 more rows cannot be sent."_s.arg(count - MostListed));
    return count;
}

/// Prints the days on which the office has other punches; returns whether there are any.
bool listDifferences(const Days &here, const Days &office)
{
    TextTable table({"Day", ">Here", ">Office", "Remark"});
    Days all = here;
    all.insert(office.begin(), office.end());
    bool differs = false;
    for (const auto &entry : all) {
        const auto contentIn = [&](const Days &days) {
            const auto found = days.find(entry.first);
            return found == days.end() ? Day() : found->second;
        };
        const Day door = contentIn(here);
        const Day sent = contentIn(office);
        if (door == sent)
            continue;
        differs = true;
        table.add({QString::fromLatin1(entry.first), QString::number(door.count),
                   QString::number(sent.count),
                   door.digest == sent.digest ? u"changed at the office"_s
                   : door.count > sent.count  ? u"waits"_s
                                              : u"differs"_s});
    }
    if (differs)
        table.print(TextTable::Aligned);
    return differs;
}

} // namespace

int showStatus(const CommandLine &line)
{
    DoorFile file(line.file);
    const Forwarding::Report report = Forwarding::lastReport(file.identity());
    Console::say(report.sentence.isEmpty() ? u"No pass has run yet."_s : report.sentence);
    const qint64 unsendable = listUnsendable(file);
    std::optional<DoorFile::Scan> scan = file.scan();
    if (!scan)
        scan = file.scan(); // a punch was stored meanwhile
    if (!scan)
        throw NotDone{u"The database changes more often than it can be read; try again."_s};

    Days confirmed;
    try {
        Office office;
        confirmed = daysAt(office, file.identity());
    } catch (const NotDone &notDone) {
        State state(file.identity());
        state.read();
        Console::say(u"Compared with what this user's last pass left at the office:"_s);
        if (!listDifferences(scan->days, state.confirmed))
            Console::say(u"No day waits."_s);
        throw;
    }
    const bool differs = listDifferences(scan->days, confirmed);
    if (!differs && unsendable == 0)
        Console::say(u"The office has all punches."_s);
    return differs || unsendable > 0 ? Console::Failed : Console::Succeeded;
}

} // namespace Tavrel
