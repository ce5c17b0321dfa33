#include "tools/records/Punches.h"

#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/console/TextTable.h"
#include "tools/records/Pairs.h"

#include <limits>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The mark of the batch of added punches. The clock counts into its own batch without a lock, so a
/// change of that row in the same instant would cost it a punch.
constexpr QLatin1StringView BatchMark("sitetool");

/// EventStatus of "in" or "out"; invalid for another text.
QVariant statusOf(const QString &text)
{
    const QString type = text.toLower();
    return type == u"in" ? QVariant(1) : type == u"out" ? QVariant(0) : QVariant();
}

Console::Mistake invalidType(const QString &text)
{
    return {u"Invalid type \"%1\"; expected in or out, then the time."_s.arg(text)};
}

QDateTime pastTimeOf(const QString &text)
{
    QDateTime time = timeOf(text);
    if (time > QDateTime::currentDateTime())
        throw NotDone{u"The time %1 is in the future; a time without a day is today's."_s.arg(
            time.toString(u"yyyy-MM-dd HH:mm:ss"))};
    return time;
}

qlonglong rowOf(const QString &text)
{
    bool isNumber = false;
    const qlonglong row = text.toLongLong(&isNumber);
    if (!isNumber)
        throw Console::Mistake{u"Invalid row \"%1\"; expected a number from the column Row of "
                               "punches, for example 14."_s.arg(text)};
    return row;
}

struct StoredPunch {
    QVariant batch;
    QString badge;
    QString time;
    QString text; ///< all of it, for people
};

StoredPunch storedPunch(TimeDatabase &database, qlonglong row)
{
    Statement query =
        database.statement(u"SELECT ID, PersonalID, DateTime, EventStatus FROM RawDataDetails "
                           "WHERE _rowid_ = ?1"_s,
                           {row});
    if (!query.step())
        throw NotDone{u"There is no punch with row number %1."_s.arg(row)};
    const auto text = [&](int column) { return QString::fromUtf8(query.text(column)); };
    return {query.value(0).toVariant(), text(1), text(2),
            u"row %1: badge \"%2\" (%3), %4, %5"_s.arg(QString::number(row), text(1),
                                                       nameOf(database, text(1)), typeText(text(3)),
                                                       text(2))};
}

/// The punch in `row`, which must be of `badge`, as it is stored or as it is printed.
StoredPunch punchOf(TimeDatabase &database, qlonglong row, const QString &badge)
{
    StoredPunch stored = storedPunch(database, row);
    if (badge != stored.badge && badge != Console::visible(stored.badge))
        throw NotDone{u"Row %1 is of badge \"%2\", not \"%3\"."_s.arg(QString::number(row),
                                                                      stored.badge, badge)};
    return stored;
}

/// Refuses the punch in `row` if another row holds the same.
void refuseRepetition(TimeDatabase &database, qlonglong row)
{
    const QVariant same = database.value(
        u"SELECT other._rowid_ FROM RawDataDetails AS this JOIN RawDataDetails AS other "
        "ON other.PersonalID = this.PersonalID AND other.EventStatus = this.EventStatus "
        "AND other.DateTime = this.DateTime AND other._rowid_ <> this._rowid_ "
        "WHERE this._rowid_ = ?1"_s,
        {row});
    if (same.isValid())
        throw NotDone{u"That punch is stored already: %1."_s.arg(
            storedPunch(database, same.toLongLong()).text)};
}

/// Counts a punch into the batch of these commands and returns its number.
QVariant countIntoBatch(TimeDatabase &database)
{
    Statement batch = database.statement(u"SELECT _rowid_, ID FROM RawData "
                                         "WHERE DownloadResult = ?1 ORDER BY _rowid_ LIMIT 1"_s,
                                         {QString(BatchMark)});
    const QDateTime now = QDateTime::currentDateTime();
    if (batch.step()) {
        database.execute(
            u"UPDATE RawData SET DateTime = ?2, RecordCount = iif(typeof(RecordCount) = "
            "'integer', RecordCount + 1, RecordCount) WHERE _rowid_ = ?1"_s,
            {batch.number(0), now});
        return batch.value(1).toVariant();
    }
    const QVariant highest = database.value(u"SELECT max(ID) FROM RawData"_s);
    bool isNumber = highest.isNull();
    const qlonglong last = isNumber ? -1 : highest.toLongLong(&isNumber);
    if (!isNumber || last >= std::numeric_limits<qint16>::max())
        throw NotDone{u"A new batch is needed, but none can follow the highest number, \"%1\": "
                      "32767 is the last."_s.arg(highest.toString())};
    database.execute(u"INSERT INTO RawData (ID, RecordCount, DateTime, DownloadResult) "
                     "VALUES (?1, 1, ?2, ?3)"_s,
                     {last + 1, now, QString(BatchMark)});
    return last + 1;
}

} // namespace

int listPunches(const CommandLine &line)
{
    const Period period = periodOf(line);
    TimeDatabase database(line.file);
    TextTable table({">Row", "Badge", "Name", "Type", "Time", "Remark"});
    for (const BadgePunches &badge :
         punchesIn(database, period,
                   line.has(u"badge"_s) ? std::optional(line.options[u"badge"_s]) : std::nullopt)) {
        for (const Punch &punch : badge.punches) {
            if (punch.isInPeriod)
                table.add({QString::number(punch.row), badge.badge, badge.name, punch.typeText,
                           punch.time, remarksOn(punch).join(u", ")});
        }
    }
    table.print(line.format());
    return Console::Succeeded;
}

int addPunch(const CommandLine &line)
{
    const QString badge = line.arguments[0].trimmed();
    const QVariant status = statusOf(line.arguments[1]);
    if (!status.isValid())
        throw invalidType(line.arguments[1]);
    const QDateTime time = pastTimeOf(line.arguments[2]);
    if (badge.isEmpty() || badge.size() > BadgeSize)
        throw NotDone{u"The badge \"%1\" is %2."_s.arg(
            badge, badge.isEmpty() ? u"blank"_s : u"longer than 50 characters"_s)};

    TimeDatabase database(line.file);
    StoredPunch stored;
    database.change([&] {
        const QVariant batch = countIntoBatch(database);
        database.changeRows(u"INSERT INTO RawDataDetails "
                            "(ID, PersonalID, EventStatus, DateTime, Shift, MachineNo) "
                            "VALUES (?1, ?2, ?3, ?4, 0, 0)"_s,
                            {batch, badge, status, time});
        const qlonglong row = database.value(u"SELECT last_insert_rowid()"_s).toLongLong();
        refuseRepetition(database, row);
        stored = storedPunch(database, row);
        database.note({u"punch added"_s, {}, stored.text}, line.options.value(u"reason"_s));
    });
    Console::say(u"Added "_s + stored.text + u'.');
    if (nameOf(database, badge) == UnknownName)
        Console::say(u"Badge \"%1\" belongs to no employee."_s.arg(badge));
    return Console::Succeeded;
}

int changePunch(const CommandLine &line)
{
    const qlonglong row = rowOf(line.arguments[0]);
    const QVariant status = statusOf(line.arguments[2]);
    if (!status.isValid() && line.arguments.size() == 4)
        throw invalidType(line.arguments[2]);
    const QString timeText = line.arguments.value(status.isValid() ? 3 : 2);
    const QVariant time = timeText.isNull() ? QVariant() : QVariant(pastTimeOf(timeText));

    TimeDatabase database(line.file);
    StoredPunch was;
    StoredPunch became;
    database.change([&] {
        was = punchOf(database, row, line.arguments[1]);
        const QString today = QDate::currentDate().toString(Qt::ISODate);
        if (time.isValid() && !timeText.contains(u'-') && !was.time.startsWith(today))
            throw NotDone{u"The punch is not of today: give the time with its day, for "
                          "example \"%1 %2\"."_s.arg(was.time.left(today.size()), timeText)};
        database.changeRows(u"UPDATE RawDataDetails SET EventStatus = ifnull(?2, EventStatus), "
                            "DateTime = ifnull(?3, DateTime) WHERE _rowid_ = ?1"_s,
                            {row, status, time});
        became = storedPunch(database, row);
        if (became.text == was.text)
            throw NotDone{u"Nothing to change: %1."_s.arg(was.text)};
        refuseRepetition(database, row);
        database.note({u"punch changed"_s, was.text, became.text}, line.options.value(u"reason"_s));
    });
    Console::say(u"Before: "_s + was.text + u'.');
    Console::say(u"After:  "_s + became.text + u'.');
    return Console::Succeeded;
}

int removePunch(const CommandLine &line)
{
    const qlonglong row = rowOf(line.arguments[0]);
    TimeDatabase database(line.file);
    StoredPunch was;
    database.change([&] {
        was = punchOf(database, row, line.arguments[1]);
        database.changeRows(u"DELETE FROM RawDataDetails WHERE _rowid_ = ?1"_s, {row});
        database.execute(u"UPDATE RawData SET RecordCount = RecordCount - 1 "
                         "WHERE _rowid_ = (SELECT min(_rowid_) FROM RawData WHERE ID = ?1) "
                         "AND typeof(RecordCount) = 'integer'"_s,
                         {was.batch});
        database.note({u"punch removed"_s, was.text, {}}, line.options.value(u"reason"_s));
    });
    Console::say(u"Removed "_s + was.text + u'.');
    return Console::Succeeded;
}

} // namespace Tavrel
