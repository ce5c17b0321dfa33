#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"
#include "tests/doubles/ScriptedHost.h"
#include "tests/doubles/TestDatabase.h"

#include <QtTest>

static const QDateTime PunchTime(QDate(2026, 3, 9), QTime(9, 5, 1));
static const QByteArray Details =
    "SELECT ID, PersonalID, EventStatus, DateTime, Shift, MachineNo FROM RawDataDetails";

class TestStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Each row: what the tables hold before, what RawData holds after one punch, and the number
    /// of the failure that the message box tells, 0 for a stored punch.
    void batches_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<int>("failure");
        const auto row = [](const char *name, const QByteArray &values, const char *after,
                            int failure = 0) {
            const QByteArray sql = values.isEmpty() ? "" : "INSERT INTO RawData VALUES " + values;
            QTest::newRow(name) << sql << QString::fromLatin1(after) << failure;
        };
        row("empty table", "", "0|1|2026-03-09 09:05:07|MSR");
        row("open batch", "(7, 41, 'x', 'MSR')", "7|42|2026-03-09 09:05:07|MSR");
        row("none marked", "(7, 4, 'x', 'a'), (3, 4, 'x', NULL)",
            "7|4|x|a\n3|4|x|NULL\n8|1|2026-03-09 09:05:07|MSR");
        row("two marked", "(9, 1, 'x', 'MSR'), (2, 1, 'x', 'MSR')",
            "9|2|2026-03-09 09:05:07|MSR\n2|1|x|MSR");
        row("no count", "(7, NULL, 'x', 'MSR')", "7|NULL|2026-03-09 09:05:07|MSR");
        row("last number", "(32766, 1, 'x', 'a')", "32766|1|x|a\n32767|1|2026-03-09 09:05:07|MSR");
        row("numbers used up", "(32767, 1, 'x', 'a')", "32767|1|x|a", 6);
        row("number too large", "(40000, 1, 'x', 'MSR')", "40000|1|x|MSR", 6);
        row("count is no number", "(1, 'many', 'x', 'MSR')", "1|many|x|MSR", 13);
        const QByteArray mayBeNull = "DROP TABLE RawData; CREATE TABLE RawData (ID, RecordCount, "
                                     "DateTime, DownloadResult); INSERT INTO RawData VALUES ";
        QTest::newRow("no number in a batch")
            << mayBeNull + "(NULL, 1, 'x', 'MSR')" << QStringLiteral("NULL|1|x|MSR") << 94;
        QTest::newRow("no number at all")
            << mayBeNull + "(NULL, 1, 'x', 'a')" << QStringLiteral("NULL|1|x|a") << 94;
    }
    void batches()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, after);
        QFETCH(int, failure);
        Fixture t(before);
        t.punch(QStringLiteral("1001"), 1);
        QCOMPARE(t.database.run("SELECT * FROM RawData"), after);
        QCOMPARE(t.failures(), failure ? QList<int>{failure} : QList<int>());
        QCOMPARE(t.database.run("SELECT count(*) FROM RawDataDetails"),
                 QString::number(failure ? 0 : 1));
    }

    void details()
    {
        Fixture t;
        t.punch(QStringLiteral("00123"), 1);
        t.punch(QStringLiteral("00123"), 1);
        t.punch(QString(), 0);
        t.punch(QString(51, u'9'), 0);
        QCOMPARE(t.database.run(Details), "0|00123|1|2026-03-09 09:05:01|0|0\n"
                                          "0|00123|1|2026-03-09 09:05:01|0|0\n"
                                          "0||0|2026-03-09 09:05:01|0|0\n0|" +
                                              QString(50, u'9') + "|0|2026-03-09 09:05:01|0|0");
        QCOMPARE(t.database.run("SELECT RecordCount FROM RawData"), QStringLiteral("4"));
    }

    /// A failure stops the steps where it comes; once its cause is gone the next punch is stored.
    void failures_data()
    {
        QTest::addColumn<QByteArray>("cause");
        QTest::addColumn<QByteArray>("cure");
        QTest::addColumn<bool>("batchIsWritten");
        const auto row = [](const char *name, const char *cause, const char *cure, bool written) {
            QTest::newRow(name) << QByteArray(cause) << QByteArray(cure) << written;
        };
        row("no batch table", "ALTER TABLE RawData RENAME TO Gone",
            "ALTER TABLE Gone RENAME TO RawData", false);
        row("no batch column", "ALTER TABLE RawData RENAME COLUMN RecordCount TO Gone",
            "ALTER TABLE RawData RENAME COLUMN Gone TO RecordCount", false);
        row("batch refused",
            "CREATE TRIGGER t BEFORE INSERT ON RawData BEGIN SELECT RAISE(ABORT, 'no'); END",
            "DROP TRIGGER t", false);
        row("no details table", "ALTER TABLE RawDataDetails RENAME TO Gone",
            "ALTER TABLE Gone RENAME TO RawDataDetails", true);
        row("no details column", "ALTER TABLE RawDataDetails RENAME COLUMN MachineNo TO Gone",
            "ALTER TABLE RawDataDetails RENAME COLUMN Gone TO MachineNo", true);
        row("details refused",
            "CREATE TRIGGER t BEFORE INSERT ON RawDataDetails BEGIN SELECT RAISE(ABORT, 'no'); END",
            "DROP TRIGGER t", true);
    }
    void failures()
    {
        QFETCH(QByteArray, cause);
        QFETCH(QByteArray, cure);
        QFETCH(bool, batchIsWritten);
        Fixture t;
        t.database.run(cause);
        t.punch(QStringLiteral("1001"), 1);
        QCOMPARE(t.host.boxes.size(), 1);
        QVERIFY(!t.host.boxes[0].text.isEmpty());
        QVERIFY(t.host.boxes[0].title.toInt() != 0);
        QCOMPARE(t.host.boxes[0].icon, MsgBoxIcon::None);

        t.database.run(cure);
        QCOMPARE(t.database.run("SELECT count(*) FROM RawData"),
                 QString::number(batchIsWritten ? 1 : 0));
        t.punch(QStringLiteral("1002"), 1);
        QCOMPARE(t.host.boxes.size(), 1);
        QCOMPARE(t.database.run("SELECT PersonalID FROM RawDataDetails"), QStringLiteral("1002"));
        QCOMPARE(t.database.run("SELECT RecordCount FROM RawData"),
                 QString::number(batchIsWritten ? 2 : 1));
    }

    void employees_data()
    {
        QTest::addColumn<QByteArray>("sql");
        QTest::addColumn<QString>("badge");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("failure");
        const auto row = [](const char *title, const char *sql, const QString &badge,
                            const char *name, int failure = 0) {
            QTest::newRow(title) << QByteArray(sql) << badge << QString::fromLatin1(name)
                                 << failure;
        };
        const char *loose = "DROP TABLE Employee; CREATE TABLE Employee (PersonalID TEXT, Name); "
                            "INSERT INTO Employee VALUES ('1', NULL), ('2', ''), ('3', 'A'), "
                            "('3', 'B'), ('4', 44)";
        row("known", "", "1001", "Mara Lindqvist");
        row("leading zeros", "", "00123", "Noor Haddad");
        row("unknown", "", "123", "Unknown");
        row("empty", "", "", "Unknown");
        row("quotes", "", "x' OR '1'='1", "Unknown");
        row("Null name", loose, "1", "before", 94);
        row("empty name", loose, "2", "");
        row("twice", loose, "3", "A");
        row("a number", loose, "4", "44");
        row("no table", "DROP TABLE Employee", "1001", "before", SQLITE_ERROR);
    }
    void employees()
    {
        QFETCH(QByteArray, sql);
        QFETCH(QString, badge);
        QFETCH(int, failure);
        Fixture t(sql);
        QString name = QStringLiteral("before");
        GetEmployeeName(t.host, t.environment, badge, name);
        QTEST(name, "name");
        QCOMPARE(t.failures(), failure ? QList<int>{failure} : QList<int>());
    }

private:
    struct Fixture {
        explicit Fixture(const QByteArray &sql = {})
        {
            database.run(sql);
            environment.conOV.ConnectionString(database.connectionString());
        }

        void punch(const QString &badge, std::int16_t status)
        {
            SavePunch(host, environment, badge, PunchTime, status);
        }

        QList<int> failures() const
        {
            QList<int> numbers;
            for (const auto &box : host.boxes)
                numbers += box.title.toInt();
            return numbers;
        }

        ScriptedHost host;
        TestDatabase database;
        DataEnvironment environment;
    };
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
