#include "tools/records/Hours.h"

#include "tools/console/Console.h"
#include "tools/console/TextTable.h"
#include "tools/records/Pairs.h"

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// Hours, to two decimals.
QString hours(qint64 seconds)
{
    const qint64 hundredths = (seconds * 100 + 1800) / 3600;
    return QString::asprintf("%lld.%02lld", hundredths / 100, hundredths % 100);
}

} // namespace

int listPresent(const CommandLine &line)
{
    TimeDatabase database(line.file);
    const QString today = QDate::currentDate().toString(Qt::ISODate);
    TextTable table({"Badge", "Name", "Since", "Remark"});
    for (const BadgePunches &badge : lastPunches(database)) {
        if (badge.badge.isEmpty()) {
            const auto ofToday = std::ranges::count_if(
                badge.punches, [&](const Punch &punch) { return punch.time.startsWith(today); });
            if (ofToday > 0)
                table.add({badge.badge, badge.name, {}, u"punches today: %1"_s.arg(ofToday)});
            continue;
        }
        const Punch &last = badge.punches.back();
        const QString remark = isInFuture(last)  ? last.typeText + u" in the future"_s
                               : isStillIn(last) ? QString()
                                                 : u"likely forgotten Clock Out"_s;
        if (last.isOpen || isInFuture(last))
            table.add({badge.badge, badge.name, last.time, remark});
    }
    table.print(line.format());
    return Console::Succeeded;
}

int listHours(const CommandLine &line)
{
    const Period period = periodOf(line);
    TimeDatabase database(line.file);
    TextTable table({"Badge", "Name", ">Hours", ">Longest", ">Unpaired", "Remark"});
    for (const BadgePunches &badge : punchesIn(database, period)) {
        qint64 sum = 0;
        qint64 longest = 0;
        int unpaired = 0;
        QStringList remarks;
        for (const Punch &punch : badge.punches) {
            if (!punch.isInPeriod || (punch.partner && punch.type == Punch::ClockOut))
                continue;
            remarks += remarksOn(punch);
            if (!punch.partner) {
                ++unpaired;
                continue;
            }
            remarks += remarksOn(*punch.partner);
            const qint64 seconds = punch.partner->moment - punch.moment;
            sum += seconds;
            longest = std::max(longest, seconds);
        }
        if (badge.badge.isEmpty())
            remarks += u"several people"_s;
        remarks.removeDuplicates();
        remarks.removeOne(u"unpaired"_s); // as the number says
        table.add({badge.badge, badge.name, hours(sum), hours(longest), QString::number(unpaired),
                   remarks.join(u", ")});
    }
    table.print(line.format());
    return Console::Succeeded;
}

} // namespace Tavrel
