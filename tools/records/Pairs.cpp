#include "tools/records/Pairs.h"

#include "tools/console/NotDone.h"
#include "tools/records/StoredTime.h"

#include <QHash>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <limits>
#include <optional>
#include <tuple>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::size_t MostPunches = 500'000;

/// The number of the day of a wall time.
qint64 dayOf(qint64 wallTime)
{
    return std::chrono::floor<std::chrono::days>(std::chrono::seconds(wallTime)).count();
}

/// Seconds by which the wall clock is ahead of UTC.
qint64 offsetAt(qint64 moment)
{
    const std::time_t time = moment;
    std::tm local{};
    ::localtime_r(&time, &local);
    return local.tm_gmtoff;
}

/// Sets the moment; of a repeated one that of its first pass. Returns that of the second.
qint64 setMoment(Punch &punch)
{
    // No zone is a day away from UTC, and none changes twice within two days.
    const qint64 offsetBefore = offsetAt(punch.wallTime - SecondsPerDay);
    const qint64 offsetAfter = offsetAt(punch.wallTime + SecondsPerDay);
    const qint64 early = punch.wallTime - offsetBefore;
    const qint64 late = punch.wallTime - offsetAfter;
    const bool canBeEarly = offsetAt(early) == offsetBefore;
    const bool canBeLate = offsetAt(late) == offsetAfter;
    punch.isRepeated = canBeEarly && canBeLate && early != late;
    punch.moment = canBeLate && !canBeEarly ? late : early;
    return late;
}

void order(std::vector<Punch> &punches)
{
    std::ranges::sort(punches, {}, &Punch::row);
    constexpr qint64 SecondPass = std::numeric_limits<qint64>::max();
    QHash<qint64, qint64> latestTimes; // of the repeated hour of a day, among the rows so far
    for (Punch &punch : punches) {
        if (!punch.isReadable)
            continue;
        const qint64 secondMoment = setMoment(punch);
        if (!punch.isRepeated)
            continue;
        const qint64 day = dayOf(punch.wallTime);
        const bool goesBack = punch.wallTime < latestTimes.value(day, punch.wallTime);
        latestTimes[day] = goesBack ? SecondPass : punch.wallTime;
        if (goesBack)
            punch.moment = secondMoment;
    }
    std::ranges::sort(punches, {}, [](const Punch &punch) {
        return std::tuple(!punch.isReadable, punch.moment, punch.row);
    });
}

void pair(std::vector<Punch> &punches)
{
    Punch *before = nullptr;
    for (Punch &punch : punches) {
        if (!punch.isReadable)
            break;
        if (before && before->type == Punch::ClockIn && punch.type == Punch::ClockOut) {
            before->partner = &punch;
            punch.partner = before;
        }
        before = &punch;
    }
    if (before)
        before->isOpen = before->type == Punch::ClockIn;
}

class Reader
{
public:
    Reader(TimeDatabase &database, QString begin, QString end)
        : m_database(database), m_begin(std::move(begin)), m_end(std::move(end))
    {
        database.connection().CommandTimeout = TimeDatabase::LongestRead;
    }

    void readPeriod(const std::optional<QString> &badge);
    void readBeside(bool everyBadge);
    std::vector<BadgePunches> result();

private:
    struct Found {
        std::vector<Punch> inPeriod;
        bool needsBefore = false;
        bool needsAfter = false;
        std::vector<Punch> before; ///< of the last day before the period that has any
        std::vector<Punch> after;
    };

    Statement rows(const QString &condition, const std::vector<QVariant> &parameters)
    {
        return m_database.statement(
            u"SELECT _rowid_, PersonalID, EventStatus, DateTime FROM RawDataDetails WHERE "_s +
                condition,
            parameters);
    }

    void add(std::vector<Punch> &punches, const Statement &row, std::optional<qint64> wallTime);
    void keepNearest(std::vector<Punch> &kept, const Statement &row, qint64 wallTime, int side);

    TimeDatabase &m_database;
    const QString m_begin;
    const QString m_end;
    QHash<QByteArray, Found> m_found; // by badge, byte for byte
    std::size_t m_count = 0;
};

void Reader::readPeriod(const std::optional<QString> &badge)
{
    // A time that does not begin with a day is in no period, so it is in each. The plus keeps
    // SQLite from trying each value as a number.
    QString condition = u"((+DateTime >= ?1 AND +DateTime < ?2) OR "
                        "(DateTime GLOB '[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]*') IS NOT 1)"_s;
    std::vector<QVariant> parameters{m_begin, m_end};
    if (badge) {
        condition += u" AND PersonalID = ?3"_s;
        parameters.emplace_back(*badge);
    }
    Statement row = rows(condition, parameters);
    while (row.step()) {
        Found &found = m_found[row.text(1).toByteArray()];
        add(found.inPeriod, row, wallTimeOf(row.text(3)));
        found.inPeriod.back().isInPeriod = true;
    }
    for (auto [number, found] : m_found.asKeyValueRange()) {
        order(found.inPeriod);
        const Punch &first = found.inPeriod.front();
        if (number.isEmpty() || !first.isReadable)
            continue;
        const auto last = std::find_if(found.inPeriod.rbegin(), found.inPeriod.rend(),
                                       std::mem_fn(&Punch::isReadable));
        found.needsBefore = first.type == Punch::ClockOut;
        found.needsAfter = last->type == Punch::ClockIn;
    }
}

void Reader::readBeside(bool everyBadge)
{
    const auto needsMore = [](const Found &found) { return found.needsBefore || found.needsAfter; };
    if (!everyBadge && std::ranges::none_of(m_found, needsMore))
        return;
    const QByteArray begin = m_begin.toUtf8();
    Statement row = rows(u"+DateTime < ?1 OR +DateTime >= ?2"_s, {m_begin, m_end});
    while (row.step()) {
        const QByteArrayView text = row.text(1);
        const auto number = QByteArray::fromRawData(text.data(), text.size());
        auto found = m_found.find(number);
        if (found == m_found.end()) {
            if (!everyBadge || !wallTimeOf(row.text(3)))
                continue;
            found = m_found.insert(text.toByteArray(), {});
            found->needsBefore = true;
        }
        const bool isBefore = row.text(3) < begin;
        if (!(isBefore ? found->needsBefore : found->needsAfter))
            continue;
        if (const auto wallTime = wallTimeOf(row.text(3)))
            keepNearest(isBefore ? found->before : found->after, row, *wallTime, isBefore ? -1 : 1);
    }
}

void Reader::add(std::vector<Punch> &punches, const Statement &row, std::optional<qint64> wallTime)
{
    if (++m_count > MostPunches)
        throw NotDone{
            u"More than %1 punches are in that period; choose a shorter one."_s.arg(MostPunches)};
    Punch &punch = punches.emplace_back();
    punch.row = row.number(0);
    punch.type = row.text(2) == "1"   ? Punch::ClockIn
                 : row.text(2) == "0" ? Punch::ClockOut
                                      : Punch::OtherType;
    punch.typeText = typeText(QString::fromUtf8(row.text(2)));
    punch.time = QString::fromUtf8(row.text(3));
    punch.isReadable = wallTime.has_value();
    punch.wallTime = wallTime.value_or(0);
}

/// Keeps only the punches of the day that is nearest to the period. `side` is -1 before it and 1
/// after it.
void Reader::keepNearest(std::vector<Punch> &kept, const Statement &row, qint64 wallTime, int side)
{
    if (!kept.empty()) {
        const qint64 farther = side * (dayOf(wallTime) - dayOf(kept.front().wallTime));
        if (farther > 0)
            return;
        if (farther < 0) {
            m_count -= kept.size();
            kept.clear();
        }
    }
    add(kept, row, wallTime);
}

std::vector<BadgePunches> Reader::result()
{
    std::vector<BadgePunches> all;
    for (auto [number, found] : m_found.asKeyValueRange()) {
        BadgePunches &one = all.emplace_back();
        one.badge = QString::fromUtf8(number);
        one.name = nameOf(m_database, one.badge);
        one.punches = std::move(found.inPeriod);
        for (auto *beside : {&found.before, &found.after})
            std::ranges::move(*beside, std::back_inserter(one.punches));
        order(one.punches);
        if (!number.isEmpty())
            pair(one.punches);
    }
    std::ranges::sort(all, {},
                      [](const BadgePunches &one) { return std::tuple(one.name, one.badge); });
    return all;
}

} // namespace

std::vector<BadgePunches> punchesIn(TimeDatabase &database, const Period &period,
                                    const std::optional<QString> &badge)
{
    Reader reader(database, period.begin(), period.end());
    reader.readPeriod(badge);
    reader.readBeside(false);
    return reader.result();
}

std::vector<BadgePunches> lastPunches(TimeDatabase &database)
{
    constexpr QLatin1StringView AfterAll("~");
    Reader reader(database, AfterAll, AfterAll);
    reader.readBeside(true);
    return reader.result();
}

bool isInFuture(const Punch &punch)
{
    return punch.isReadable && punch.moment > QDateTime::currentSecsSinceEpoch();
}

bool isStillIn(const Punch &punch)
{
    constexpr qint64 LongestStay = 57600; // 16 hours
    return punch.isOpen && !isInFuture(punch) &&
           punch.moment >= QDateTime::currentSecsSinceEpoch() - LongestStay;
}

QStringList remarksOn(const Punch &punch)
{
    QStringList remarks;
    if (isStillIn(punch))
        remarks += u"still in"_s;
    else if (!punch.partner)
        remarks += u"unpaired"_s;
    if (!punch.isReadable)
        remarks += u"unreadable time"_s;
    if (punch.type == Punch::OtherType)
        remarks += u"unknown type"_s;
    if (punch.isRepeated)
        remarks += u"repeated hour"_s;
    if (isInFuture(punch))
        remarks += u"in the future"_s;
    return remarks;
}

QString nameOf(TimeDatabase &database, const QString &badge)
{
    Statement employee =
        database.statement(u"SELECT Name FROM Employee WHERE PersonalID = ?1"_s, {badge});
    return employee.step() ? employee.value(0).toVariant().toString() : QString(UnknownName);
}

QString typeText(const QString &status)
{
    return status == u"1"_s ? u"Clock In"_s : status == u"0"_s ? u"Clock Out"_s : status;
}

} // namespace Tavrel
