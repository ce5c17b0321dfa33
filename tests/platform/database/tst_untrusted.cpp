#include "platform/database/Recordset.h"
#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"
#include "tests/support/failureOf.h"

#include <QtEndian>

#include <numeric>

using namespace Tavrel;

/// What other users may put into the database, or beside it, if they may write its folder.
class TestUntrusted : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void journals_of_another_kind_data()
    {
        Table<QByteArray, QByteArray> row("ending", "kind");
        row("-journal", "pipe");
        row("-wal", "pipe");
        row("-journal", "device");
        row("-journal", "link");
        row("-wal", "link");
        row("-shm", "second name");
        row("-journal", "second name");
        row("-journal", "folder");
    }
    void journals_of_another_kind()
    {
        QFETCH(QByteArray, ending);
        QFETCH(QByteArray, kind);
        Fixture t;
        TemporaryHome::write(t.victim, QByteArray(1, '\0'));
        const QString journal = t.database.file() + ending;
        if (ending == "-shm")
            t.database.run("PRAGMA journal_mode = WAL");
        if (kind == "link")
            QVERIFY(QFile::link(t.victim, journal));
        else if (kind == "second name")
            QCOMPARE(::link(qPrintable(t.victim), qPrintable(journal)), 0);
        else
            TemporaryHome::putInPlace(kind, journal);
        t.punch();
        QCOMPARE(t.host.boxes.value(0), "14: not a regular file: " + journal);
        QCOMPARE(TemporaryHome::read(t.victim), QByteArray(1, '\0'));
        QCOMPARE(std::remove(qPrintable(journal)), 0);
        t.punch();
        QCOMPARE(t.host.boxes.size(), 1);
        QCOMPARE(t.database.run("SELECT count(*) FROM RawDataDetails"), "1");
    }

    void a_journal_naming_another_file_leaves_that_alone_data()
    {
        Table<QString> row("named");
        row("a file", "%1");
        row("a journal of another database", "%1-journal");
        row("a pipe", "%1.pipe");
        row("nothing", "%1.nothing");
    }
    void a_journal_naming_another_file_leaves_that_alone()
    {
        QFETCH(QString, named);
        Fixture t;
        for (const QString &file : {t.victim, t.victim + "-journal"})
            TemporaryHome::write(file, t.database.file().toUtf8());
        TemporaryHome::putInPlace("pipe", t.victim + ".pipe");
        t.leaveJournal(named.arg(t.victim).toUtf8());
        t.punch();
        QCOMPARE(t.host.boxes, QStringList());
        QCOMPARE(t.database.run("SELECT count(*) FROM RawDataDetails"), "1");
        QVERIFY(!QFile::exists(t.database.file() + "-journal"));
        for (const char *ending : {"", "-journal", ".pipe"})
            QVERIFY(QFile::exists(t.victim + ending));
    }

    void greedy_files_data()
    {
        Table<QByteArray, int> row("sql", "box");
        const QByteArray trigger = "CREATE TRIGGER greedy AFTER INSERT ON RawDataDetails BEGIN ";
        row("a long value", trigger + "SELECT length(hex(zeroblob(400000000))); END", 18);
        row("a long sum",
            trigger + "SELECT length(group_concat(v)) FROM (WITH RECURSIVE n(v) AS (SELECT 1 UNION "
                      "ALL SELECT v + 1 FROM n LIMIT 9000000) SELECT v FROM n); END",
            18);
        row("a long text", trigger + "SELECT 1 /*" + QByteArray(100000, '*') + "*/; END", 18);
        row("a deep expression", trigger + "SELECT 1" + QByteArray("+1").repeated(150) + "; END",
            11);
        row("depth",
            "CREATE TABLE Deep (n); CREATE TRIGGER deep AFTER INSERT ON Deep WHEN new.n < 40 BEGIN "
            "INSERT INTO Deep VALUES (new.n + 1); END; " +
                trigger + "INSERT INTO Deep VALUES (1); END",
            1);
    }
    void greedy_files()
    {
        QFETCH(QByteArray, sql);
        QFETCH(int, box);
        Fixture t;
        t.database.run(sql);
        failureOf([&] { // where the schema cannot be read
            Statement(t.environment.conOV, "PRAGMA recursive_triggers = ON").execute();
        });
        t.punch();
        QCOMPARE(t.host.boxes.size(), 1);
        QVERIFY2(t.host.boxes[0].startsWith(QString::number(box) + u':'),
                 qPrintable(t.host.boxes[0]));
        t.database.run("DROP TRIGGER greedy");
        t.punch();
        QCOMPARE(t.database.run("SELECT count(*) FROM RawDataDetails"), "1");
    }

    void the_file_says_nothing_about_what_runs()
    {
        Fixture t;
        Statement settings(t.environment.conOV,
                           QStringLiteral("SELECT trusted_schema, hard_heap_limit FROM "
                                          "pragma_trusted_schema, pragma_hard_heap_limit"));
        QVERIFY(settings.step());
        QCOMPARE(settings.value(0).toVariant().toInt(), 0);
        QCOMPARE(settings.value(1).toVariant().toInt(), 64 * 1024 * 1024);
        Statement(t.environment.conOV, QStringLiteral("PRAGMA writable_schema = ON")).execute();
        QVERIFY(failureOf([&] {
                    Statement(t.environment.conOV, "DELETE FROM sqlite_schema").execute();
                }) != 0);
    }

private:
    struct Fixture {
        Fixture() { environment.conOV.ConnectionString(database.connectionString()); }

        void punch() { SavePunch(host, environment, QStringLiteral("1001"), host.Now(), 1); }

        /// Leaves a journal without pages, as of an interrupted transaction, that belongs to the
        /// super-journal `name`.
        void leaveJournal(const QByteArray &name) const
        {
            constexpr quint32 PageSize = 4096;
            const QByteArray magic = QByteArray::fromHex("d9d505f920a163d7");
            const auto pages = static_cast<quint32>(QFileInfo(database.file()).size() / PageSize);
            const quint32 sum = std::accumulate(name.begin(), name.end(), 0U);
            TemporaryHome::write(
                database.file() + "-journal",
                (magic + numbers({0, 1, pages, 512, PageSize})).leftJustified(512, '\0') +
                    numbers({0x40000000 / PageSize + 1}) + name +
                    numbers({static_cast<quint32>(name.size()), sum}) + magic);
        }
        static QByteArray numbers(std::initializer_list<quint32> values)
        {
            QByteArray bytes;
            for (const quint32 value : values) {
                const quint32 stored = qToBigEndian(value);
                bytes.append(reinterpret_cast<const char *>(&stored), sizeof stored);
            }
            return bytes;
        }

        TestDatabase database;
        QTemporaryDir home;
        QString victim = home.filePath(QStringLiteral("diary"));
        ScriptedHost host;
        DataEnvironment environment;
    };
};

QTEST_GUILESS_MAIN(TestUntrusted)
#include "tst_untrusted.moc"
