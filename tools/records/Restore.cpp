#include "tools/records/Restore.h"

#include "platform/basics/Failure.h"
#include "platform/database/GuardedFiles.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/DatabaseCopy.h"
#include "tools/records/NeededColumns.h"
#include "tools/records/Pairs.h"
#include "tools/records/TimeDatabase.h"

#include <QDateTime>
#include <QFileInfo>

#include <fcntl.h>

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

const QStringList PunchColumns{u"PersonalID"_s, u"EventStatus"_s, u"DateTime"_s};
const QStringList CorrectionColumns{u"DateTime"_s, u"UserName"_s, u"Change"_s,
                                    u"Was"_s,      u"Became"_s,   u"Reason"_s};

/// Selects the row numbers in today's table of the rows that the draft's table lacks. Of rows that
/// are equal in `columns`, as many are lacking as there are more of them today. Almost all rows are
/// equal to the one with the same number, so only the others are sorted.
QString lackingRows(const QString &table, const QStringList &columns)
{
    const auto others = [&](const QString &own, const QString &other) {
        return u"%1 FROM %2.%4 AS own WHERE NOT EXISTS (SELECT 1 FROM %3.%4 AS other WHERE "
               "other._rowid_ = own._rowid_ AND (own.%5) IS (other.%6))"_s.arg(
                   columns.join(u", "), own, other, table, columns.join(u", own."),
                   columns.join(u", other."));
    };
    return u"SELECT Row FROM (SELECT Side, Row, row_number() OVER w AS Number, "
           "sum(Side = 0) OVER w AS Kept FROM (SELECT 0 AS Side, 0 AS Row, %1 "
           "UNION ALL SELECT 1, _rowid_, %2) WINDOW w AS (PARTITION BY %3 ORDER BY Side, Row)) "
           "WHERE Side = 1 AND Number > 2 * Kept"_s.arg(
               others(u"main"_s, u"today"_s), others(u"today"_s, u"main"_s), columns.join(u", "));
}

QString punches(qlonglong count)
{
    return count == 1 ? u"1 punch"_s : u"%1 punches"_s.arg(count);
}

class Restoring
{
public:
    explicit Restoring(const CommandLine &line)
        : m_line(line), m_live(QFile::decodeName(trustedPath(
                            QFile::encodeName(QFileInfo(line.file).absoluteFilePath())))),
          m_aside(QFileInfo(m_live).path() +
                  QDateTime::currentDateTime().toString(
                      u"'/Orvanta-before-restore-'yyyy-MM-dd-HHmmss'.mdb'")),
          m_backup(line.arguments[0]), m_database(m_live)
    {
        m_backup.connection().Mode = adModeRead;
        m_database.connection().Mode = adModeReadWrite;
    }

    const QString &target() const { return m_live; }

    /// Returns false, with nothing changed, if a punch came in between.
    bool tryOnce();

private:
    static unsigned versionOf(sqlite3 *database)
    {
        unsigned version = 0;
        sqlite3_file_control(database, "main", SQLITE_FCNTL_DATA_VERSION, &version);
        return version;
    }

    void requireSound(const DatabaseCopy &draft) const;
    std::optional<DatabaseCopy> copyToday();
    void fitPageSize(const DatabaseCopy &draft, const DatabaseCopy &today) const;
    void makeLog(const DatabaseCopy &draft) const;
    void findLacking(const DatabaseCopy &draft);
    void showLacking(const DatabaseCopy &draft) const;
    void ask() const;
    void carryOver(const DatabaseCopy &draft);
    void note(const DatabaseCopy &draft) const;
    bool write(const DatabaseCopy &draft, DatabaseCopy &today, sqlite3 *copied, unsigned version);
    void makeInstead();

    const CommandLine &m_line;
    const QString m_live;
    const QString m_aside;
    TimeDatabase m_backup;
    TimeDatabase m_database;
    qlonglong m_lacking = 0;                ///< punches; -1 if today's cannot be read
    std::optional<qlonglong> m_corrections; ///< that the backup lacks, if today's can be read
    QString m_lackingPunches;               ///< all of them
    std::optional<QString> m_agreed;        ///< m_lackingPunches when they were shown
};

/// The backup may come from anywhere: from another program, or from a failing stick.
void Restoring::requireSound(const DatabaseCopy &draft) const
{
    const QString named = m_line.arguments[0];
    if (const QString damage = draft.damage(); !damage.isEmpty())
        throw NotDone{u"The backup \"%1\" is damaged: %2."_s.arg(named, damage)};
    try {
        for (const NeededColumn &needed : NeededColumns)
            draft.statement(u"SELECT _rowid_, %2 FROM main.%1 LIMIT 0"_s.arg(
                quotedName(QLatin1StringView(needed.table)),
                quotedName(QLatin1StringView(needed.column))));
        Statement stored = draft.statement(u"SELECT count(*), ', the last at ' || max(DateTime) "
                                           "FROM main.RawDataDetails"_s);
        stored.step();
        if (!m_agreed)
            Console::say(u"The backup is sound: %1%2."_s.arg(
                punches(stored.value(0).toVariant().toLongLong()),
                stored.value(1).toVariant().toString()));
    } catch (const Failure &failure) {
        throw NotDone{
            u"\"%1\" is not a backup of a time database: %2."_s.arg(named, failure.description)};
    }
}

/// Nothing if the file is missing, or if SQLite cannot open it.
std::optional<DatabaseCopy> Restoring::copyToday()
{
    if (!QFileInfo::exists(m_live) && !QFileInfo(m_live).isSymLink())
        return {};
    constexpr int LowByte = 0xFF;
    try {
        return std::optional<DatabaseCopy>(std::in_place, m_database.connection(), m_aside);
    } catch (const Failure &failure) {
        const int number = failure.number & LowByte;
        if (number != SQLITE_NOTADB && number != SQLITE_CORRUPT)
            throw;
        Console::say(u"The present file cannot be opened: %1"_s.arg(failure.description));
        return {};
    }
}

/// SQLite cannot write pages of another size into a database in the mode WAL.
void Restoring::fitPageSize(const DatabaseCopy &draft, const DatabaseCopy &today) const
{
    const auto sizeIn = [](const DatabaseCopy &copy) {
        Statement size = copy.statement(u"PRAGMA main.page_size"_s);
        size.step();
        return size.value(0).toVariant().toString();
    };
    if (sizeIn(draft) == sizeIn(today))
        return;
    draft.statement(u"PRAGMA main.page_size = "_s + sizeIn(today)).execute();
    draft.statement(u"VACUUM main"_s).execute();
}

/// A table or a view of that name, but of another shape, is not sitetool's.
void Restoring::makeLog(const DatabaseCopy &draft) const
{
    QString kind;
    QString columns;
    {
        Statement log = draft.statement(u"SELECT type, (SELECT group_concat(name, ', ') FROM "
                                        "pragma_table_info('Correction', 'main')) "
                                        "FROM main.sqlite_master WHERE type IN ('table', 'view') "
                                        "AND lower(name) = 'correction'"_s);
        if (log.step()) {
            kind = log.value(0).toVariant().toString();
            columns = log.value(1).toVariant().toString();
        }
    }
    const QString now = QDateTime::currentDateTime().toString(Qt::ISODate);
    if (kind == u"view")
        draft.statement(u"DROP VIEW main.Correction"_s).execute();
    else if (kind == u"table" && columns != CorrectionColumns.join(u", "))
        draft
            .statement(u"ALTER TABLE main.Correction RENAME TO %1"_s.arg(
                quotedName(u"Correction until "_s + now)))
            .execute();
    TimeDatabase::makeCorrectionTable(draft.database());
}

void Restoring::findLacking(const DatabaseCopy &draft)
{
    try {
        draft
            .statement(u"CREATE TEMP TABLE Lacking AS "_s +
                       lackingRows(u"RawDataDetails"_s, PunchColumns))
            .execute();
        Statement count =
            draft.statement(u"SELECT count(*), group_concat(concat_punch, char(10)) FROM (SELECT "
                            "quote(PersonalID) || quote(EventStatus) || quote(DateTime) AS "
                            "concat_punch FROM temp.Lacking JOIN today.RawDataDetails AS d "
                            "ON d._rowid_ = Row ORDER BY Row)"_s);
        count.step();
        m_lacking = count.number(0);
        m_lackingPunches = QString::fromUtf8(count.text(1));
    } catch (const Failure &failure) {
        m_lacking = -1;
        Console::say(
            u"The punches of the present database cannot be read: %1."_s.arg(failure.description));
    }
    m_corrections.reset();
    try {
        if (!draft.statement(u"SELECT 1 FROM today.sqlite_master WHERE name = 'Correction'"_s)
                 .step())
            return;
        Statement count = draft.statement(
            u"SELECT count(*) FROM today.Correction WHERE Change <> 'restored' "
            "AND _rowid_ IN (%1)"_s.arg(lackingRows(u"Correction"_s, CorrectionColumns)));
        count.step();
        m_corrections = count.number(0);
    } catch (const Failure &failure) {
        Console::say(u"The corrections of the present database cannot be read: %1."_s.arg(
            failure.description));
    }
}

void Restoring::showLacking(const DatabaseCopy &draft) const
{
    if (m_lacking == 0)
        Console::say(u"It has all punches of the present database."_s);
    if (m_corrections.value_or(0) > 0)
        Console::say(u"It was made before %1 of the corrections, which it undoes; repeat those "
                     "that are still right."_s.arg(*m_corrections));
    if (m_lacking <= 0)
        return;
    Console::say(u"It lacks %1 of the present database, which %2:"_s.arg(
        punches(m_lacking), m_line.has(u"keep-punches"_s)
                                ? u"will be added"_s
                                : u"will be lost without --keep-punches"_s));
    TextTable table({"Badge", "Name", "Type", "Time"});
    Statement rows = draft.statement(
        u"SELECT PersonalID, (SELECT Name FROM main.Employee AS e WHERE e.PersonalID = "
        "d.PersonalID), EventStatus, DateTime FROM temp.Lacking JOIN today.RawDataDetails AS d "
        "ON d._rowid_ = Row ORDER BY DateTime, Row"_s);
    while (rows.step()) {
        const auto text = [&](int column) { return QString::fromUtf8(rows.text(column)); };
        const QString name = rows.text(1).isNull() ? QString(UnknownName) : text(1);
        table.add({text(0), name, typeText(text(2)), text(3)});
    }
    table.print(TextTable::Aligned);
}

void Restoring::ask() const
{
    if (m_line.has(u"yes"_s))
        return;
    std::cout << "Restore? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y")
        throw NotDone{u"Nothing was changed."_s};
}

/// Adds to the draft the corrections that it lacks, and with --keep-punches the punches, each in
/// its own batch.
void Restoring::carryOver(const DatabaseCopy &draft)
{
    const auto run = [&](const QString &sql) { draft.statement(sql).execute(); };
    const auto sharedColumns = [&](const QString &table, const QString &except = {}) {
        Statement names =
            draft.statement(u"SELECT name FROM pragma_table_info(?1, 'main') INTERSECT "
                            "SELECT name FROM pragma_table_info(?1, 'today')"_s,
                            {table});
        QStringList columns;
        while (names.step())
            if (const QString name = names.value(0).toVariant().toString(); name != except)
                columns += quotedName(name);
        return columns.join(u", ");
    };

    if (m_corrections) {
        const QString columns = CorrectionColumns.join(u", ");
        const QString values = CorrectionColumns.join(u", ''), ifnull(");
        run(u"INSERT INTO main.Correction (%1) SELECT ifnull(%2, '') FROM today.Correction "
            "WHERE _rowid_ IN (%3) ORDER BY _rowid_"_s.arg(
                columns, values, lackingRows(u"Correction"_s, CorrectionColumns)));
    }
    if (m_lacking <= 0 || !m_line.has(u"keep-punches"_s))
        return;
    const QString batch = sharedColumns(u"RawData"_s, u"RecordCount"_s);
    const QString punch = sharedColumns(u"RawDataDetails"_s);
    const QString kept = u"today.RawDataDetails AS d WHERE d._rowid_ IN temp.Lacking"_s;
    run(u"INSERT INTO main.RawData (%1, RecordCount) SELECT %1, 0 FROM today.RawData "
        "WHERE ID IN (SELECT ID FROM %2) AND ID NOT IN (SELECT ID FROM main.RawData)"_s.arg(batch,
                                                                                            kept));
    run(u"INSERT INTO main.RawDataDetails (%1) SELECT %1 FROM %2 ORDER BY d._rowid_"_s.arg(punch,
                                                                                           kept));
    run(u"UPDATE main.RawData SET RecordCount = RecordCount + (SELECT count(*) FROM %1 "
        "AND d.ID = RawData.ID) WHERE typeof(RecordCount) = 'integer' AND ID IN (SELECT ID FROM "
        "%1)"_s.arg(kept));
}

void Restoring::note(const DatabaseCopy &draft) const
{
    TimeDatabase::note(
        draft.database(),
        {u"restored"_s, u"kept in "_s + m_aside, QFileInfo(m_line.arguments[0]).absoluteFilePath()},
        m_line.options.value(u"reason"_s));
}

/// SQLite takes the lock with the first page, and undoes what it wrote unless all are written.
/// Does nothing if the database is no longer the one that was `copied`, in that `version`.
bool Restoring::write(const DatabaseCopy &draft, DatabaseCopy &today, sqlite3 *copied,
                      unsigned version)
{
    int isMoved = 0;
    sqlite3_file_control(copied, "main", SQLITE_FCNTL_HAS_MOVED, &isMoved);
    sqlite3 *live = m_database.connection().database();
    const PageCopying pages(sqlite3_backup_init(live, "main", draft.database(), "main"));
    int result = sqlite3_backup_step(pages.get(), 1);
    if (result == SQLITE_OK) {
        if (isMoved || versionOf(live) != version)
            return false;
        today.publish();
        result = sqlite3_backup_step(pages.get(), -1);
    }
    if (result != SQLITE_DONE)
        throw Failure(result, u"Cannot write \"%1\", which is unchanged: %2"_s.arg(
                                  m_live, QString::fromUtf8(sqlite3_errstr(result))));
    return true;
}

/// What a crash has left beside the file belongs to it, and would damage another one.
void Restoring::makeInstead()
{
    const bool hasFile = QFileInfo::exists(m_live);
    if (hasFile && m_line.has(u"keep-punches"_s))
        throw NotDone{u"The punches of \"%1\" cannot be read: restore without --keep-punches, or "
                      "repair the file first."_s.arg(m_live)};
    ask();
    for (const char *ending : {"", "-journal", "-wal", "-shm"}) {
        if (::renameat2(AT_FDCWD, (QFile::encodeName(m_live) + ending).constData(), AT_FDCWD,
                        (QFile::encodeName(m_aside) + ending).constData(), RENAME_NOREPLACE) != 0 &&
            errno != ENOENT)
            throw NotDone{u"Cannot rename \"%1%2\": %3."_s.arg(
                m_live, QLatin1StringView(ending), QString::fromLocal8Bit(strerror(errno)))};
    }
    DatabaseCopy made(m_backup.connection(), m_live);
    makeLog(made);
    note(made);
    made.publish();
    if (hasFile)
        Console::say(u"Moved the present file to %1."_s.arg(m_aside));
}

bool Restoring::tryOnce()
{
    DatabaseCopy draft(m_backup.connection(), m_aside);
    requireSound(draft);
    std::optional<DatabaseCopy> today = copyToday();
    if (!today) {
        makeInstead();
        return true;
    }
    sqlite3 *copied = m_database.connection().database();
    const unsigned version = versionOf(copied);
    if (const QString damage = today->damage(); !damage.isEmpty())
        Console::say(u"The present database is damaged: %1."_s.arg(damage));
    fitPageSize(draft, *today);
    makeLog(draft);
    draft.statement(u"ATTACH ?1 AS today"_s, {QString::fromLatin1(today->file().path())}).execute();
    findLacking(draft);
    if (m_lacking < 0 && m_line.has(u"keep-punches"_s))
        throw NotDone{u"They cannot be kept: restore without --keep-punches."_s};
    if (m_agreed != m_lackingPunches) {
        showLacking(draft);
        ask();
        m_agreed = m_lackingPunches;
    }
    carryOver(draft);
    note(draft);
    if (!write(draft, *today, copied, version))
        return false;
    Console::say(u"Kept a copy of the database as it was: %1."_s.arg(m_aside));
    return true;
}

} // namespace

int restore(const CommandLine &line)
{
    constexpr int MostTries = 10;

    if (!line.has(u"yes"_s) && !::isatty(STDIN_FILENO))
        throw Console::Mistake{u"restore asks on a terminal; without one it needs --yes."_s};
    const QString backup = QFileInfo(line.arguments[0]).canonicalFilePath();
    if (!backup.isEmpty() && backup == QFileInfo(line.file).canonicalFilePath())
        throw NotDone{u"\"%1\" is the database itself."_s.arg(line.arguments[0])};

    Restoring restoring(line);
    for (int tries = 0; !restoring.tryOnce(); ++tries) {
        if (tries == MostTries)
            throw NotDone{u"Nothing was changed, because other programs keep writing."_s};
    }
    Console::say(u"Restored %1."_s.arg(restoring.target()));
    return Console::Succeeded;
}

} // namespace Tavrel
