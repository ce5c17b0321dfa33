#include "tools/sitetool/CheckDatabase.h"

#include "platform/basics/Failure.h"
#include "platform/basics/FileDescriptor.h"
#include "platform/database/GuardedFiles.h"
#include "platform/host/WindowlessHost.h"
#include "store/SavePunch.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/BatchCounts.h"
#include "tools/records/Forwarding.h"
#include "tools/records/NeededColumns.h"
#include "tools/sitetool/Rights.h"

#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

using namespace std::chrono_literals;

/// Each punch locks the file for a moment.
constexpr std::chrono::milliseconds Moment = 2s;
/// The check for damage delays punches, so it must end long before the clock stops waiting.
constexpr std::chrono::milliseconds LongLook = 10s;

/// The badge of the test punch: a numeric column would change it.
constexpr QLatin1StringView TriedBadge("00123");

/// What to do about a failure, by its number or by the low byte of SQLite's extended numbers. %1 in
/// the text is this program.
struct Advice {
    int number;
    const char *text;
};
constexpr Advice Advices[] = {
    {SQLITE_BUSY,
     "Another program locks the database, and the clock waits only 30 seconds: end it."},
    {SQLITE_CONSTRAINT, "A constraint or a trigger rejects what the clock writes: give your own "
                        "columns a default, or remove the constraint or trigger."},
    {SQLITE_CORRUPT, "The file is damaged: copy it away, then restore a backup."},
    {SQLITE_NOTADB, "If it is a Jet or Access database, convert it with %1 import; otherwise "
                    "restore a backup."},
    {SQLITE_READONLY_ROLLBACK, "A crash or a power cut interrupted the last write; the next swipe "
                               "rolls it back. Swipe a badge, then check again."},
    {Failure::Overflow, "The number of a batch, RawData.ID, is at most 32767: renumber the "
                        "batches."},
    {Failure::TypeMismatch, "RawData.ID or RecordCount of the batch is not a number."},
    {Failure::InvalidUseOfNull, "RawData.ID of the batch is empty."},
};

QString sentence(const QString &text)
{
    return text.endsWith(u'.') ? text : text + u'.';
}

QString withAdvice(const QString &text, int number)
{
    constexpr int LowByte = 0xFF;
    for (const int key : {number, number & LowByte}) {
        for (const Advice &advice : Advices) {
            if (advice.number == key)
                return text + u' ' +
                       QString::fromLatin1(advice.text).replace(u"%1"_s, Console::program());
        }
    }
    return text;
}

/// The most that a finding lists.
constexpr qsizetype MostShown = 10;

struct Table {
    const char *name;
    bool isWritten;
};
constexpr Table Tables[] = {{"RawData", true}, {"RawDataDetails", true}, {"Employee", false}};

/// A possible mistake in Employee, and the query for the badges that have it.
struct Doubt {
    const char *query;
    const char *text;
};
constexpr Doubt Doubts[] = {
    {"SELECT PersonalID FROM Employee WHERE Name IS NULL",
     "Employees whose Name is Null (each swipe shows a message box): %1."},
    {"SELECT PersonalID FROM Employee WHERE trim(Name) = ''", "Employees with an empty name: %1."},
    {"SELECT PersonalID FROM Employee GROUP BY PersonalID HAVING count(*) > 1",
     "Badges that belong to several employees (only the first is shown): %1."},
    {"SELECT PersonalID FROM Employee WHERE typeof(PersonalID) IN ('integer', 'real')",
     "Badges stored as numbers (without leading zeros, and possibly shown as Unknown): %1. "
     "Declare PersonalID as VARCHAR(50) and store text."},
};

class DatabaseCheck
{
public:
    DatabaseCheck(const QString &file, ConnectModeEnum mode, Findings &findings)
        : m_source(u"Data Source=%1\\%2;Persist"_s.arg(QFileInfo(file).absolutePath(),
                                                       QFileInfo(file).fileName())),
          m_findings(findings)
    {
        m_reading.Mode = mode;
        m_reading.ConnectionTimeout = Moment;
        m_reading.CommandTimeout = LongLook;
        m_reading.ConnectionString(m_source);
    }

    void run(bool mayWrite)
    {
        try {
            m_journalMode = rows("PRAGMA journal_mode").value(0);
            say(Findings::Good, u"The journal mode is %1."_s.arg(m_journalMode));
            lookThrough();
            if (checkTables()) {
                if (mayWrite)
                    tryPunch();
                checkCounts();
                showLastPunch();
                showForwarding();
            }
        } catch (const Failure &failure) {
            const bool isCutOff = failure.number == SQLITE_READONLY_ROLLBACK;
            say(isCutOff ? Findings::Unclear : Findings::Stopping,
                withAdvice(u"Cannot read the database: "_s + sentence(failure.description),
                           failure.number));
        }
    }

private:
    void say(Findings::Weight weight, const QString &finding) { m_findings.say(weight, finding); }

    static void execute(Connection &connection, const char *sql)
    {
        Statement(connection, QString::fromLatin1(sql)).execute();
    }

    /// The first column of each row.
    QStringList rows(const QString &query, const std::vector<QVariant> &parameters = {})
    {
        QStringList values;
        Statement statement(m_reading, query, parameters);
        while (statement.step())
            values += statement.value(0).toVariant().toString();
        return values;
    }
    QStringList rows(const char *query) { return rows(QString::fromLatin1(query)); }

    void lookThrough();
    bool checkTables();
    QStringList missingColumns(const char *table);
    void checkEmployees();
    void checkEmployeeBadges();
    void tryPunch();
    void checkBadge(const QVariant &stored);
    void checkCounts();
    void showLastPunch();
    void showForwarding();

    const QString m_source;
    Findings &m_findings;
    Connection m_reading;
    QString m_journalMode;
};

void DatabaseCheck::lookThrough()
{
    QString found;
    try {
        found = rows("PRAGMA quick_check(1)").value(0);
    } catch (const Failure &failure) {
        found = failure.description;
        if (failure.number == SQLITE_INTERRUPT) {
            say(Findings::Notable, u"The file is too large to check for damage "
                                   "here: run PRAGMA quick_check in sqlite3 "
                                   "while the clock is closed."_s);
            return;
        }
    }
    if (found == u"ok")
        say(Findings::Good, u"The file is not damaged."_s);
    else
        say(Findings::Unclear, withAdvice(sentence(found), SQLITE_CORRUPT));
}

bool DatabaseCheck::checkTables()
{
    bool takesPunches = true;
    for (const auto &[table, isWritten] : Tables) {
        const QString name = QString::fromLatin1(table);
        const QStringList missing = missingColumns(table);
        if (missing.isEmpty()) {
            say(Findings::Good, u"%1 has the columns that the clock uses."_s.arg(name));
            if (!isWritten)
                checkEmployees();
        } else {
            say(isWritten ? Findings::Stopping : Findings::Notable,
                u"%1 lacks what the clock needs: %2. To compare, make a correct "
                "file with %3 new."_s.arg(name, missing.join(u", "), Console::program()));
            takesPunches = takesPunches && !isWritten;
        }
    }
    for (const QString &trigger :
         rows("SELECT name || ' on ' || tbl_name FROM sqlite_master WHERE type = 'trigger' AND "
              "lower(tbl_name) IN ('rawdata', 'rawdatadetails')"))
        say(Findings::Notable, u"The trigger %1 runs at each punch."_s.arg(trigger));
    return takesPunches;
}

/// SQLite's error messages for the needed columns that the table lacks.
QStringList DatabaseCheck::missingColumns(const char *table)
{
    QStringList missing;
    for (const NeededColumn &needed : NeededColumns) {
        if (qstrcmp(needed.table, table) != 0)
            continue;
        try {
            rows(u"SELECT `%2` FROM `%1` LIMIT 0"_s.arg(QLatin1String(table),
                                                        QLatin1String(needed.column)));
        } catch (const Failure &failure) {
            missing += failure.description;
        }
    }
    missing.removeDuplicates(); // a missing table is reported for each column
    return missing;
}

void DatabaseCheck::checkEmployees()
{
    if (rows("SELECT 1 FROM Employee LIMIT 1").isEmpty())
        say(Findings::Notable, u"There are no employees: every badge is Unknown."_s);
    for (const Doubt &doubt : Doubts) {
        const QStringList badges = rows(doubt.query);
        if (badges.isEmpty())
            continue;
        QString shown = badges.mid(0, MostShown).join(u", ");
        if (badges.size() > MostShown)
            shown += u" and %1 more"_s.arg(badges.size() - MostShown);
        say(Findings::Notable, QString::fromLatin1(doubt.text).arg(shown));
    }
    checkEmployeeBadges();
}

/// Stores a badge in a temporary table whose column has the same declaration.
void DatabaseCheck::checkEmployeeBadges()
{
    execute(m_reading, "CREATE TEMP TABLE Tried AS SELECT PersonalID FROM main.Employee LIMIT 0");
    Statement(m_reading, u"INSERT INTO Tried VALUES (?1)"_s, {QString(TriedBadge)}).execute();
    const QString stored = rows("SELECT PersonalID FROM Tried").value(0);
    if (stored != TriedBadge)
        say(Findings::Notable, u"Employee.PersonalID is declared as a number, so "
                               "badges %1 and %2 are the same. Declare it as "
                               "VARCHAR(50)."_s.arg(TriedBadge, stored));
}

void DatabaseCheck::tryPunch()
{
    WindowlessHost host;
    QVariant batch;
    QVariant badge;
    try {
        DataEnvironment environment; // its destructor rolls back
        Connection &connection = environment.conOV;
        connection.ConnectionTimeout = Moment;
        connection.CommandTimeout = Moment;
        connection.ConnectionString(m_source);
        execute(connection, "PRAGMA cache_spill = OFF");
        if (m_journalMode != u"wal") // leaving that mode would change the file
            execute(connection, "PRAGMA journal_mode = MEMORY");
        execute(connection, "BEGIN IMMEDIATE");
        SavePunch(host, environment, TriedBadge, host.Now(), 1);
        if (host.boxText.isEmpty()) {
            Statement stored(connection, u"SELECT ID, PersonalID FROM RawDataDetails "
                                         "WHERE _rowid_ = last_insert_rowid()"_s);
            if (stored.step()) {
                batch = stored.value(0).toVariant();
                badge = stored.value(1).toVariant();
            }
        }
    } catch (const Failure &failure) {
        host.MsgBox(failure);
    }
    if (host.boxText.isEmpty()) {
        checkBadge(badge);
        const bool joins = !rows(u"SELECT 1 FROM RawData WHERE ID = ?1"_s, {batch}).isEmpty();
        say(Findings::Good, u"The next punch %1 batch %2."_s.arg(joins ? u"joins"_s : u"starts"_s,
                                                                 batch.toString()));
    } else {
        say(Findings::Stopping,
            withAdvice(u"A punch is rejected: "_s + sentence(host.boxText), host.boxTitle.toInt()));
    }
}

/// `stored`: TriedBadge as the table has stored it.
void DatabaseCheck::checkBadge(const QVariant &stored)
{
    const bool isText = stored.typeId() == QMetaType::QString;
    if (isText && stored.toString() == TriedBadge)
        return;
    const QString reason =
        isText || stored.isNull()
            ? u"A trigger on RawDataDetails changes it."_s
            : u"RawDataDetails.PersonalID is declared as a number: make a file with "
              "%1 new, where it is VARCHAR(50), and copy the rows to it."_s.arg(Console::program());
    say(Findings::Wrong, u"A punch of badge %1 is stored as badge \"%2\". %3"_s.arg(
                             TriedBadge, stored.toString(), reason));
}

/// A difference is reported for each batch, also those that the clock no longer adds to.
void DatabaseCheck::checkCounts()
{
    try {
        const std::vector<WrongCount> wrong = wrongCounts(m_reading);
        for (std::size_t i = 0; i < std::min<std::size_t>(wrong.size(), MostShown); ++i)
            say(Findings::Notable,
                u"Batch %1 has %2 punches but a RecordCount of \"%3\"; the clock only adds to "
                "it."_s.arg(wrong[i].batch.toString(), QString::number(wrong[i].punches),
                            wrong[i].counted.toString()));
        if (wrong.empty())
            say(Findings::Good, u"The RecordCount of each batch is the number of its punches."_s);
        else
            say(Findings::Notable, u"Batches with a wrong RecordCount: %1. Mend them with %2 check "
                                   "--mend-counts."_s.arg(wrong.size())
                                       .arg(Console::program()));
    } catch (const NotDone &notDone) {
        say(Findings::Notable, u"Cannot compare the RecordCounts: "_s + notDone.why);
    } catch (const Failure &failure) {
        say(Findings::Notable,
            u"Cannot compare the RecordCounts: "_s + sentence(failure.description));
    }
}

void DatabaseCheck::showLastPunch()
{
    // The table has no index on the day. Punches added by hand are not in order of time, so this
    // searches a fixed number of the last rows instead of stopping at the first of another day.
    constexpr int MostLookedAt = 10000;
    try {
        Statement last(m_reading, u"SELECT PersonalID, EventStatus, DateTime "
                                  "FROM RawDataDetails ORDER BY _rowid_ DESC LIMIT 1"_s);
        if (!last.step()) {
            say(Findings::Good, u"No punches are stored yet."_s);
            return;
        }
        const QStringList ofToday =
            rows(u"SELECT count(*) FROM (SELECT DateTime FROM RawDataDetails "
                 "ORDER BY _rowid_ DESC LIMIT ?1) WHERE substr(DateTime, 1, 10) = ?2"_s,
                 {MostLookedAt, QDate::currentDate().toString(Qt::ISODate)});
        say(Findings::Good,
            u"The last stored punch is of badge \"%1\", %2, at %3. Punches today: "
            "%4."_s.arg(last.value(0).toVariant().toString(),
                        last.value(1).toVariant() == 1 ? u"Clock In"_s : u"Clock Out"_s,
                        last.value(2).toVariant().toString(), ofToday.value(0)));
    } catch (const Failure &failure) {
        say(Findings::Notable,
            u"Cannot read the last stored punch: "_s + sentence(failure.description));
    }
}

void DatabaseCheck::showForwarding()
{
    const QString identity = Forwarding::identity(m_reading);
    if (identity.isNull())
        return;
    const Forwarding::Report report = Forwarding::lastReport(identity);
    if (report.sentence.isEmpty())
        say(Findings::Notable,
            u"The punches are to be forwarded, but this user can read no report of a pass."_s);
    else if (report.when < QDateTime::currentDateTime().addSecs(-3600))
        say(Findings::Notable, report.sentence + u" No pass has ended within the last hour."_s);
    else
        say(report.status == 0 ? Findings::Good : Findings::Notable, report.sentence);
}

/// Whether this user may write the database `path` and create a journal beside it.
bool mayWrite(const QString &path, Findings &findings)
{
    // For the pages of two rows, and their copies in a journal.
    constexpr qint64 RoomForPunch = 65536;

    bool may = true;
    const QString folder = QFileInfo(path).path();
    for (const auto &[place, rights] : {std::pair(path, R_OK | W_OK), {folder, W_OK | X_OK}}) {
        if (const QString reason = whyInaccessible(place, rights); !reason.isEmpty()) {
            findings.say(Findings::Stopping, u"Cannot write %1: %2"_s.arg(place, reason));
            may = false;
        }
    }
    const QStorageInfo disk(folder); // invalid if the mount point is hidden
    if (disk.isValid() && disk.bytesAvailable() < RoomForPunch)
        findings.say(Findings::Stopping, u"The disk that holds %1 is full."_s.arg(folder));
    else if (may)
        findings.say(Findings::Good, u"The database and its folder are writable."_s);
    return may;
}

/// Whether the read version in the file's header says that its journal mode is WAL.
bool isWriteAheadLogged(const QString &path)
{
    constexpr off_t ReadVersion = 19;
    char version = 0;
    // Without blocking: another user may have put a pipe in its place.
    const FileDescriptor file(::open(QFile::encodeName(path).constData(),
                                     O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    return file && ::pread(file.get(), &version, 1, ReadVersion) == 1 && version == 2;
}

} // namespace

void checkDatabase(const QString &file, Findings &findings)
{
    const QFileInfo named(file);
    const QString path =
        QFile::decodeName(trustedPath(QFile::encodeName(named.absoluteFilePath())));
    QString shown = named.absoluteFilePath();
    if (named.isSymLink())
        shown += u", a link to "_s + path;
    shown = u"The database is %1."_s.arg(shown);

    // Whether the file exists cannot be seen in a folder that this user may not enter.
    QString reason = whyInaccessible(QFileInfo(path).path(), X_OK);
    if (reason.isEmpty())
        reason = whyInaccessible(path, F_OK);
    if (!reason.isEmpty()) {
        findings.say(Findings::Stopping,
                     shown + u" Cannot access it: %1 If it does not exist, make it "
                             "with %2 new."_s.arg(reason, Console::program()));
        return;
    }
    findings.say(Findings::Good, shown);

    // Closing the last connection to a database in the mode WAL removes the two files beside it,
    // but only a connection that may write does so.
    const bool isWritable = mayWrite(path, findings);
    const bool needsFiles = isWriteAheadLogged(path);
    if (isWritable || !needsFiles)
        DatabaseCheck(path, needsFiles ? adModeReadWrite : adModeRead, findings).run(isWritable);
}

} // namespace Tavrel
