#include "tools/records/Period.h"

#include "tools/console/Console.h"

#include <QRegularExpression>
#include <QTimeZone>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

Console::Mistake invalid(const QString &what, const QString &text, const QString &example)
{
    return {u"Invalid %1 \"%2\"; expected for example %3."_s.arg(what, text, example)};
}

Period weekOf(const QString &text)
{
    static const QRegularExpression form(u"^([0-9]{4})-[Ww]([0-9]{2})$"_s);
    const auto match = form.match(text);
    const int number = match.captured(2).toInt();
    // 4 January is always in the first week.
    const QDate january(match.captured(1).toInt(), 1, 4);
    const QDate monday = january.addDays(1 - january.dayOfWeek() + (number - 1) * 7);
    int year = 0;
    if (!match.hasMatch() || !monday.isValid() || monday.weekNumber(&year) != number ||
        year != january.year())
        throw invalid(u"--week"_s, text, u"2026-W13"_s);
    return {monday, monday.addDays(6)};
}

Period monthOf(const QString &text)
{
    const QDate first = QDate::fromString(text, u"yyyy-MM"_s);
    if (!first.isValid())
        throw invalid(u"--month"_s, text, u"2026-03"_s);
    return {first, first.addMonths(1).addDays(-1)};
}

} // namespace

QDate dayOf(const QString &text)
{
    const QDate day = QDate::fromString(text, u"yyyy-MM-dd"_s);
    if (!day.isValid())
        throw invalid(u"day"_s, text, u"2026-03-23"_s);
    return day;
}

QDateTime timeOf(const QString &text)
{
    static const QRegularExpression form(
        u"^(?:([0-9]{4}-[0-9]{2}-[0-9]{2})[ T])?([0-9]{2}:[0-9]{2})(:[0-9]{2})?$"_s);
    const auto match = form.match(text);
    const QDate day = match.captured(1).isEmpty()
                          ? QDate::currentDate()
                          : QDate::fromString(match.captured(1), Qt::ISODate);
    const QString seconds = match.captured(3).isEmpty() ? u":00"_s : match.captured(3);
    const QTime time = QTime::fromString(match.captured(2) + seconds, u"HH:mm:ss"_s);
    if (!match.hasMatch() || !day.isValid() || !time.isValid())
        throw invalid(u"time"_s, text, u"\"2026-03-23 16:45\""_s);
    QDateTime moment(day, time);
    if (QDateTime::fromSecsSinceEpoch(moment.toSecsSinceEpoch()).time() != time)
        throw Console::Mistake{u"Invalid time \"%1\"; the clocks skip it on that day."_s.arg(text)};
    return moment;
}

Period periodOf(const CommandLine &line)
{
    const bool hasDays = line.has(u"from"_s) || line.has(u"to"_s);
    if (line.has(u"week"_s) + line.has(u"month"_s) + hasDays > 1)
        throw Console::Mistake{u"Only one of --week, --month, and --from with --to is possible."_s};
    if (line.has(u"week"_s))
        return weekOf(line.options[u"week"_s]);
    if (line.has(u"month"_s))
        return monthOf(line.options[u"month"_s]);

    const QDate today = QDate::currentDate();
    const QDate last = line.has(u"to"_s) ? dayOf(line.options[u"to"_s]) : today;
    const QDate first = line.has(u"from"_s) ? dayOf(line.options[u"from"_s])
                        : hasDays           ? QDate(1, 1, 1)
                                            : today;
    if (first > last)
        throw Console::Mistake{u"--from %1 is after --to %2."_s.arg(first.toString(Qt::ISODate),
                                                                    last.toString(Qt::ISODate))};
    return {first, last};
}

} // namespace Tavrel
