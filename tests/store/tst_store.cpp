#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"

#include <chrono>
#include <future>
#include <thread>

using namespace Tavrel;

using namespace std::chrono_literals;

static const QDateTime PunchTime(QDate(2026, 3, 9), QTime(9, 5, 1));

class TestStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// What RawData holds before and after one punch, and the box of a punch that is not stored.
    void batches_data()
    {
        Table<QByteArray, QString, QString> row("before", "after", "box");
        row("open batch", "(7, 41, 'x', 'MSR')", "7|42|2026-03-09 09:05:07|MSR", "");
        row("none marked", "(7, 4, 'x', 'msr'), (3, 4, 'x', NULL)",
            "7|4|x|msr\n3|4|x|NULL\n8|1|2026-03-09 09:05:07|MSR", "");
        row("two marked", "(9, 1, 'x', 'MSR'), (2, 1, 'x', 'MSR')",
            "9|2|2026-03-09 09:05:07|MSR\n2|1|x|MSR", "");
        row("count as a text", "(7, '41', 'x', 'MSR')", "7|42|2026-03-09 09:05:07|MSR", "");
        row("time not in UTF-8", "(7, 41, CAST(x'ff0061' AS TEXT), 'MSR')",
            "7|42|2026-03-09 09:05:07|MSR", "");
        row("no count", "(7, NULL, 'x', 'MSR')", "7|NULL|2026-03-09 09:05:07|MSR", "");
        row("last number", "(32766, 1, 'x', 'a')", "32766|1|x|a\n32767|1|2026-03-09 09:05:07|MSR",
            "");
        row("used up", "(32767, 1, 'x', 'a')", "32767|1|x|a", "6: Overflow");
        row("too large", "(40000, 1, 'x', 'MSR')", "40000|1|x|MSR", "6: Overflow");
        row("no number", "(1, 'many', 'x', 'MSR')", "1|many|x|MSR", "13: Type mismatch");
        row("no ID", "(NULL, 1, 'x', 'MSR')", "NULL|1|x|MSR", "94: Invalid use of Null");
        row("no ID at all", "(NULL, 1, 'x', 'a')", "NULL|1|x|a", "94: Invalid use of Null");
    }
    void batches()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, box);
        Fixture t("DROP TABLE RawData; CREATE TABLE RawData (ID, RecordCount, DateTime, "
                  "DownloadResult, RowID, _rowid_); " // names that hide the row number
                  "INSERT INTO RawData(ID, RecordCount, DateTime, DownloadResult) VALUES " +
                  before);
        t.punch("1001", 1);
        QTEST(t.database.run("SELECT ID, RecordCount, DateTime, DownloadResult FROM RawData"),
              "after");
        QCOMPARE(t.host.boxes.join(u'\n'), box);
        QCOMPARE(t.database.run("SELECT count(*) FROM RawDataDetails"), box.isEmpty() ? "1" : "0");
    }

    /// In a table without defaults.
    void details()
    {
        Fixture t("DROP TABLE RawDataDetails; CREATE TABLE RawDataDetails (ID, PersonalID TEXT, "
                  "EventStatus, DateTime, Shift, MachineNo)");
        t.punch("00123", 1);
        QCOMPARE(t.database.run("SELECT * FROM RawData"), "0|1|2026-03-09 09:05:07|MSR");
        t.punch("00123", 1);
        t.punch("", 0);
        t.punch(QString(51, u'9'), 0);
        QCOMPARE(t.database.run("SELECT ID, PersonalID, EventStatus, DateTime, Shift, MachineNo "
                                "FROM RawDataDetails"),
                 "0|00123|1|2026-03-09 09:05:01|0|0\n"
                 "0|00123|1|2026-03-09 09:05:01|0|0\n"
                 "0||0|2026-03-09 09:05:01|0|0\n0|" +
                     QString(50, u'9') + "|0|2026-03-09 09:05:01|0|0");
        QCOMPARE(t.database.run("SELECT RecordCount FROM RawData"), "4");
    }

    /// A failure stops the procedure where it occurs; once the cause is gone, the next punch is
    /// stored.
    void failures_data()
    {
        Table<QByteArray, QByteArray, bool, QString> row("cause", "cure", "batchIsWritten", "box");
        const QString noNumbers = "1: `%1` cannot be written: it is a view, or a table without "
                                  "accessible row numbers.";
        row("no batch table", "ALTER TABLE RawData RENAME TO Gone",
            "ALTER TABLE Gone RENAME TO RawData", false, "1: no such table: RawData");
        row("no batch column", "ALTER TABLE RawData RENAME COLUMN RecordCount TO Gone",
            "ALTER TABLE RawData RENAME COLUMN Gone TO RecordCount", false,
            "3265: The recordset has no such column: RecordCount");
        row("batch refused",
            "CREATE TRIGGER t BEFORE INSERT ON RawData BEGIN SELECT RAISE(ABORT, 'no'); END",
            "DROP TRIGGER t", false, "1811: no");
        row("a view of batches",
            "ALTER TABLE RawData RENAME TO Gone; CREATE VIEW RawData AS SELECT * FROM Gone; CREATE "
            "TRIGGER t INSTEAD OF INSERT ON RawData BEGIN INSERT INTO Gone(ID) VALUES(1); END",
            "DROP VIEW RawData; ALTER TABLE Gone RENAME TO RawData", false,
            noNumbers.arg("RawData"));
        row("row numbers hidden",
            "ALTER TABLE RawData ADD ROWID; ALTER TABLE RawData ADD _RowID_; "
            "ALTER TABLE RawData ADD oid",
            "ALTER TABLE RawData DROP oid", false, noNumbers.arg("RawData"));
        row("no details table", "ALTER TABLE RawDataDetails RENAME TO Gone",
            "ALTER TABLE Gone RENAME TO RawDataDetails", true, "1: no such table: RawDataDetails");
        row("no details column", "ALTER TABLE RawDataDetails RENAME COLUMN MachineNo TO Gone",
            "ALTER TABLE RawDataDetails RENAME COLUMN Gone TO MachineNo", true,
            "3265: The recordset has no such column: MachineNo");
        row("details without row numbers",
            "ALTER TABLE RawDataDetails RENAME TO Gone; CREATE TABLE RawDataDetails (ID, "
            "PersonalID PRIMARY KEY, EventStatus, DateTime, Shift, MachineNo) WITHOUT ROWID",
            "DROP TABLE RawDataDetails; ALTER TABLE Gone RENAME TO RawDataDetails", true,
            noNumbers.arg("RawDataDetails"));
        row("details refused",
            "CREATE TRIGGER t BEFORE INSERT ON RawDataDetails BEGIN SELECT RAISE(ABORT, 'no'); END",
            "DROP TRIGGER t", true, "1811: no");
    }
    void failures()
    {
        QFETCH(QByteArray, cause);
        QFETCH(QByteArray, cure);
        QFETCH(bool, batchIsWritten);
        Fixture t;
        t.database.run(cause);
        t.punch("1001", 1);
        QTEST(t.host.boxes.join(u'\n'), "box");

        t.database.run(cure);
        QCOMPARE(t.database.run("SELECT count(*) FROM RawData"), batchIsWritten ? "1" : "0");
        t.punch("1002", 1);
        QCOMPARE(t.host.boxes.size(), 1);
        QCOMPARE(t.database.run("SELECT PersonalID FROM RawDataDetails"), "1002");
        QCOMPARE(t.database.run("SELECT RecordCount FROM RawData"), batchIsWritten ? "2" : "1");
    }

    /// Bytes that a damaged page marks as free may be a stored punch.
    void damagedPage()
    {
        constexpr qsizetype PageSize = 4096;
        constexpr qsizetype FreeAt = 5; // end of the free bytes, number of lost bytes, first cell
        Fixture t("INSERT INTO RawDataDetails VALUES (0, '1001', 1, 'x', 0, 0)");
        const QString number =
            t.database.run("SELECT rootpage FROM sqlite_schema WHERE name = 'RawDataDetails'");
        const qsizetype page = (number.toInt() - 1) * PageSize;
        QByteArray content = TemporaryHome::read(t.database.file());
        content.replace(page + FreeAt, 5, QByteArray("\x10\0\0\xff\xff", 5));
        TemporaryHome::write(t.database.file(), content);
        t.punch("1002", 1);
        QCOMPARE(t.host.boxes.join(u'\n'),
                 "11: database disk image is malformed: " + t.database.file());
        QCOMPARE(TemporaryHome::read(t.database.file()).mid(page, PageSize),
                 content.mid(page, PageSize));
    }

    void employees_data()
    {
        Table<QByteArray, QString, QString, QString> row("sql", "badge", "name", "box");
        const char *loose = "DROP TABLE Employee; CREATE TABLE Employee (PersonalID TEXT, Name); "
                            "INSERT INTO Employee VALUES ('1', NULL), ('2', ''), ('3', 'A'), "
                            "('3', 'B'), ('4', 44)";
        row("known", "", "1001", "Anna Example", "");
        row("leading zeros", "", "00123", "Lea Leadingzero", "");
        row("unknown", "", "123", "Unknown", "");
        row("empty", "", "", "Unknown", "");
        row("beyond ASCII", "INSERT INTO Employee VALUES ('Jörg', 'Zoë Ärmel')", "Jörg",
            "Zoë Ärmel", "");
        row("one employee a badge", "INSERT OR REPLACE INTO Employee VALUES ('1001', 'Heir')",
            "1001", "Heir", "");
        row("wild cards", "", "100_", "Unknown", "");
        row("quotes", "", "x' OR '1'='1", "Unknown", "");
        row("Null name", loose, "1", "before", "94: Invalid use of Null");
        row("empty name", loose, "2", "", "");
        row("twice", loose, "3", "A", "");
        row("a number", loose, "4", "44", "");
        row("no table", "DROP TABLE Employee", "1001", "before", "1: no such table: Employee");
        row("endless",
            "DROP TABLE Employee; CREATE VIEW Employee AS WITH RECURSIVE n(i) AS (SELECT 1 UNION "
            "ALL SELECT i + 1 FROM n) SELECT '1001' AS PersonalID, 'A' AS Name FROM n",
            "1001", "before", "9: The database did not answer within the time-out.");
    }
    void employees()
    {
        QFETCH(QByteArray, sql);
        QFETCH(QString, badge);
        Fixture t(sql);
        t.environment.conOV.CommandTimeout = 100ms;
        QString name = QStringLiteral("before");
        GetEmployeeName(t.host, t.environment, badge, name);
        QTEST(name, "name");
        QTEST(t.host.boxes.join(u'\n'), "box");
    }

    /// Another program locks the file: for a moment, or for longer than the time-outs.
    void locked_data()
    {
        Table<bool, bool, QString, QString> row("givesWay", "isOpen", "name", "box");
        row("opening waits", true, false, "Anna Example", "");
        row("a command waits", true, true, "Anna Example", "");
        row("opening gives up", false, false, "", "5: database is locked");
        row("a command gives up", false, true, "", "5: database is locked");
    }
    void locked()
    {
        QFETCH(bool, givesWay);
        QFETCH(QString, box);
        for (const bool punching : {false, true}) {
            Fixture t;
            QFETCH(bool, isOpen);
            if (isOpen)
                t.environment.RawData();
            Connection other;
            other.ConnectionString(t.database.connectionString());
            Statement(other, "BEGIN EXCLUSIVE").execute();
            std::future<void> release;
            if (givesWay) {
                release = std::async(std::launch::async, [&] {
                    std::this_thread::sleep_for(50ms); // how long it is locked
                    Statement(other, "COMMIT").execute();
                });
            } else {
                t.environment.conOV.ConnectionTimeout = t.environment.conOV.CommandTimeout = 50ms;
            }
            QString name;
            if (punching)
                t.punch("1001", 1);
            else
                GetEmployeeName(t.host, t.environment, "1001", name);
            QCOMPARE(t.host.boxes.join(u'\n'), box);
            if (!punching)
                QTEST(name, "name");
            else if (givesWay)
                QCOMPARE(t.database.run("SELECT PersonalID FROM RawDataDetails"), "1001");
        }
    }

private:
    struct Fixture {
        explicit Fixture(const QByteArray &sql = {}) : database(sql)
        {
            environment.conOV.ConnectionString(database.connectionString());
        }

        void punch(const QString &badge, std::int16_t status)
        {
            SavePunch(host, environment, badge, PunchTime, status);
        }

        ScriptedHost host;
        TestDatabase database;
        DataEnvironment environment;
    };
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
