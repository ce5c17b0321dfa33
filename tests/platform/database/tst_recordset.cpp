#include "platform/database/Recordset.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"
#include "tests/support/failureOf.h"

#include <cstdio>

using namespace Tavrel;

static constexpr Command Batches{"`RawData`", adCmdTable, adLockOptimistic};
static constexpr Command HighestBatch{"SELECT MAX(ID) AS MaxID FROM RawData", adCmdText,
                                      adLockReadOnly};

template <typename Action> static QString wordsOf(const Action &action)
{
    try {
        action();
        return {};
    } catch (const Failure &failure) {
        return failure.description;
    }
}

class TestRecordset : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void closed_or_without_rows()
    {
        Fixture t;
        QCOMPARE(t.rows.State(), adStateClosed);
        QCOMPARE(failureOf([&] { t.rows.RecordCount(); }), 3704);
        QCOMPARE(failureOf([&] { t.rows.AddNew(); }), 3704);
        QCOMPARE(failureOf([&] { t.rows.Update(); }), 3704);
        QCOMPARE(failureOf([&] { t.rows.Eof(); }), 3704);
        t.rows.Open(Batches);
        QCOMPARE(t.rows.RecordCount(), 0);
        QVERIFY(t.rows.Eof());
        QCOMPARE(failureOf([&] { t.rows.Fields("ID"); }), 3021);
        QCOMPARE(failureOf([&] { t.rows.Collect("ID", 1); }), 3021);
        t.rows.AddNew();
        QVERIFY(t.rows.Fields("id").isNull());
        QCOMPARE(failureOf([&] { t.rows.Collect("Nowhere", 1); }), 3265);
    }

    void the_result_is_that_of_the_call()
    {
        Fixture t("INSERT INTO RawData VALUES (7, 1, NULL, 'x'), (8, 1, NULL, 'x')");
        t.rows.Open(Batches);
        t.database.run("INSERT INTO RawData VALUES (9, 1, NULL, 'MSR')");
        QCOMPARE(t.rows.RecordCount(), 2);
        QCOMPARE(t.rows.Fields("ID").toInt(), 7);
        t.find();
        QVERIFY(t.rows.Eof());
        t.rows.Open(Batches);
        t.find();
        QCOMPARE(t.rows.Fields("ID").toInt(), 9);
    }

    void found_rows_come_in_row_order()
    {
        Fixture t("INSERT INTO RawData(rowid, ID, DownloadResult) VALUES (5, 50, 'MSR'), "
                  "(-3, 30, 'MSR'), (9, 90, 'MSR'), (1, 10, 'other')");
        t.rows.Open(Batches);
        t.find();
        QCOMPARE(t.rows.Fields("ID").toInt(), 30);
        t.rows.Collect("ID", 31);
        t.find(); // the current row is included, and a change that was not written is dropped
        QCOMPARE(t.rows.Fields("ID").toInt(), 30);
        t.database.run("ALTER TABLE RawData RENAME COLUMN DownloadResult TO Other");
        t.rows.Open(Batches);
        QVERIFY(failureOf([&] { t.find(); }) != 0); // the name is not taken for a text
    }

    void an_update_meets_what_others_did_data()
    {
        Table<QByteArray, int> row("meanwhile", "failure");
        const int changed = -2147217864;
        row("nothing", "", 0);
        row("another column", "UPDATE RawData SET ID = 5", 0);
        row("the column", "UPDATE RawData SET RecordCount = 2", changed);
        row("to Null", "UPDATE RawData SET DateTime = NULL", changed);
        row("to another case", "UPDATE RawData SET DateTime = upper(DateTime)", changed);
        row("to other bytes", "UPDATE RawData SET DateTime = CAST(x'fe6e006f' AS TEXT)", changed);
        row("gone", "DELETE FROM RawData", changed);
    }
    void an_update_meets_what_others_did()
    {
        QFETCH(QByteArray, meanwhile);
        QFETCH(int, failure);
        Fixture t("DROP TABLE RawData; CREATE TABLE RawData (ID, RecordCount INT, DateTime TEXT "
                  "COLLATE NOCASE, DownloadResult TEXT); "
                  "INSERT INTO RawData VALUES (1, NULL, CAST(x'ff6e006f' AS TEXT), 'MSR')");
        t.rows.Open(Batches);
        t.find();
        t.rows.Collect("RecordCount", 9);
        t.rows.Collect("DateTime", QDateTime(QDate(2026, 3, 9), QTime(9, 5, 7)));
        t.database.run("BEGIN EXCLUSIVE; " + meanwhile + "; COMMIT"); // no one is locked out
        QCOMPARE(failureOf([&] { t.rows.Update(); }), failure);
        if (failure == 0)
            QCOMPARE(t.database.run("SELECT RecordCount, DateTime FROM RawData"),
                     QStringLiteral("9|2026-03-09 09:05:07"));
    }

    void a_refused_row_is_a_failure_and_goes_with_close()
    {
        Fixture t("CREATE TRIGGER no BEFORE INSERT ON RawData WHEN new.ID = 1 "
                  "BEGIN SELECT RAISE(IGNORE); END");
        t.rows.Open(Batches);
        t.rows.AddNew();
        t.rows.Collect("RecordCount", 1);
        QVERIFY(failureOf([&] { t.rows.Update(); }) != 0); // ID must not be Null
        t.rows.Collect("ID", 1);
        QVERIFY(failureOf([&] { t.rows.Update(); }) != 0); // the trigger drops it silently
        t.rows.Collect("ID", 2);
        t.rows.Close();
        t.rows.Open(Batches);
        t.rows.Update();
        QCOMPARE(t.database.run("SELECT count(*) FROM RawData"), QStringLiteral("0"));
    }

    void a_locked_file_is_waited_for()
    {
        Fixture t("INSERT INTO RawData VALUES (7, 1, NULL, 'MSR')");
        Connection other;
        other.ConnectionString(t.database.connectionString());
        Statement(other, "BEGIN IMMEDIATE").execute();
        int waits = 0;
        t.connection.onLocked = [&] {
            ++waits;
            Statement(other, "COMMIT").execute();
        };
        t.connection.ConnectionTimeout = {}; // a statement has its own time-out
        t.rows.Open(Batches);
        t.find();
        t.rows.Collect("RecordCount", 2);
        t.rows.Update();
        QCOMPARE(waits, 1);
    }

    void a_query_can_only_be_read()
    {
        Fixture t("INSERT INTO RawData VALUES (7, 1, NULL, 'x')");
        t.rows.Open(HighestBatch);
        QCOMPARE(t.rows.RecordCount(), 1);
        QCOMPARE(t.rows.Fields("MAXID").toInt(), 7);
        QCOMPARE(failureOf([&] { t.rows.Collect("MaxID", 1); }), 3251);
        QCOMPARE(failureOf([&] { t.rows.AddNew(); }), 3251);
    }

    void files_that_are_not_databases_data()
    {
        Table<QByteArray, QString> row("content", "words");
        row("noise", QByteArray(5000, 'x'), "file is not a database: %1");
        row("Jet", QByteArray("\0\1\0\0Standard Jet DB\0\1", 21).leftJustified(4096),
            "The database is in the format of Microsoft Jet. It has to be converted to SQLite "
            "before it can be used.");
        row("empty", "", "no such table: RawData");
    }
    void files_that_are_not_databases()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, words);
        Fixture t;
        TemporaryHome::write(t.database.file(), content);
        QCOMPARE(wordsOf([&] { t.rows.Open(Batches); }), words.replace("%1", t.database.file()));
        QCOMPARE(TemporaryHome::read(t.database.file()), content);
        QCOMPARE(t.rows.State(), adStateClosed);
    }

    void a_missing_file_is_not_made_and_one_in_its_place_counts()
    {
        Fixture t;
        const QString file = t.database.file();
        t.rows.Open(Batches);
        QVERIFY(QFile::rename(file, file + ".away"));
        QCOMPARE(wordsOf([&] { t.rows.Open(Batches); }), "unable to open database file: " + file);
        QVERIFY(!QFile::exists(file));
        t.database.run(TestDatabase::sampleSchema() + "INSERT INTO RawData VALUES (4, 1, 1, 'x')");
        t.rows.Open(Batches);
        QCOMPARE(t.rows.Fields("ID").toInt(), 4);
        QCOMPARE(std::rename(qPrintable(file + ".away"), qPrintable(file)), 0);
        t.rows.Open(Batches);
        QCOMPARE(t.rows.RecordCount(), 0);
    }

    /// As installed, with the database in a separate folder.
    void a_link_opens_its_target()
    {
        Fixture t("INSERT INTO RawData VALUES (7, 1, NULL, 'MSR')");
        QTemporaryDir program;
        const QString link = program.filePath(QStringLiteral("Orvanta.mdb"));
        QVERIFY(QFile::link(t.database.file(), link));
        t.connection.ConnectionString(connectionString(program.path()));

        Connection other;
        other.ConnectionString(t.database.connectionString());
        Statement(other, "BEGIN IMMEDIATE").execute();
        int waits = 0;
        t.connection.onLocked = [&] {
            ++waits;
            Statement(other, "COMMIT").execute();
        };
        Statement(t.connection, "BEGIN IMMEDIATE").execute();
        Statement(t.connection, "UPDATE RawData SET RecordCount = 2").execute();
        QCOMPARE(waits, 1);
        QVERIFY(QFile::exists(t.database.file() + "-journal"));
        QVERIFY(!QFile::exists(link + "-journal"));
        Statement(t.connection, "COMMIT").execute();
        QCOMPARE(t.database.run("SELECT RecordCount FROM RawData"), QStringLiteral("2"));

        const TestDatabase replacement("INSERT INTO RawData VALUES (8, 1, NULL, 'MSR')");
        QCOMPARE(std::rename(qPrintable(replacement.file()), qPrintable(t.database.file())), 0);
        t.rows.Open(Batches);
        QCOMPARE(t.rows.Fields("ID").toInt(), 8);
        QVERIFY(QFileInfo(link).isSymLink());
    }

    void a_read_only_file_is_a_failure()
    {
        Fixture t;
        QFile::setPermissions(t.database.folder(), QFile::Permissions(0x5755));
        QFile::setPermissions(t.database.file(), QFile::Permissions(0x4444));
        asOrdinaryUser([&] {
            QCOMPARE(wordsOf([&] { t.rows.Open(Batches); }),
                     "attempt to write a readonly database: " + t.database.file());
        });
    }

    void only_a_regular_file_is_opened_data()
    {
        QTest::addColumn<QByteArray>("kind");
        for (const char *kind : {"pipe", "device", "folder"})
            QTest::newRow(kind) << QByteArray(kind);
    }
    void only_a_regular_file_is_opened()
    {
        QFETCH(QByteArray, kind);
        Fixture t;
        const QString file = t.database.file();
        for (int time = 0; time < 2; ++time) { // before the first use, and while it runs
            QVERIFY(QFile::rename(file, file + ".away"));
            TemporaryHome::putInPlace(kind, file);
            QCOMPARE(wordsOf([&] { t.rows.Open(Batches); }),
                     "not a regular file: " + (kind == "device" ? "/dev/zero" : file));
            QCOMPARE(std::remove(qPrintable(file)), 0);
            QVERIFY(QFile::rename(file + ".away", file));
            t.rows.Open(Batches);
        }
    }

    void a_commit_outlasts_a_power_cut()
    {
        Fixture t;
        Statement synchronous(t.connection, "PRAGMA synchronous");
        QVERIFY(synchronous.step());
        QCOMPARE(synchronous.value(0).toVariant().toInt(), 3); // EXTRA
    }

    void the_folder_may_have_any_name()
    {
        QTemporaryDir parent;
        const QString folder = parent.filePath(QStringLiteral("a;b\\c;Persist d 'e' ü"));
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(QFile::copy(TestDatabase().file(), folder + "/Orvanta.mdb"));
        Connection connection;
        connection.ConnectionString(connectionString(folder));
        Recordset rows(connection);
        rows.Open(Batches);
        QCOMPARE(rows.RecordCount(), 0);
    }

private:
    struct Fixture {
        explicit Fixture(const QByteArray &sql = {}) : database(sql)
        {
            connection.ConnectionString(database.connectionString());
        }
        void find() { rows.Find("[DownloadResult]='MSR'", 0, adSearchForward); }

        TestDatabase database;
        Connection connection;
        Recordset rows{connection};
    };
};

QTEST_GUILESS_MAIN(TestRecordset)
#include "tst_recordset.moc"
