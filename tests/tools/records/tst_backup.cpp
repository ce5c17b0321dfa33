#include "store/SavePunch.h"
#include "tests/support/Run.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"

#include <QProcess>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
#include <cstdlib>

using namespace Tavrel;

/// Three punches, of which the backup has the first two.
static constexpr char Punches[] =
    "INSERT INTO RawData VALUES (0, 2, NULL, 'MSR');"
    "INSERT INTO RawDataDetails VALUES (0, '1001', 1, '2026-03-23 08:00:00', 0, 0),"
    " (0, '1001', 0, '2026-03-23 16:00:00', 0, 0);";
static constexpr char Later[] =
    "INSERT INTO RawDataDetails (ID, PersonalID, EventStatus, DateTime, MachineNo)"
    " VALUES (0, '1001', 0, '2026-03-23 16:00:00', 7);"
    "UPDATE RawData SET RecordCount = RecordCount + 1;";

class TestBackup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_live = std::make_unique<TestDatabase>(Punches); }

    /// A backup needs no other file, has all that is committed and replaces nothing.
    void backups_data()
    {
        Table<QByteArray> row("sql");
        row("small pages", "PRAGMA page_size = 1024; VACUUM");
        row("large pages", "PRAGMA page_size = 65536; VACUUM");
        row("many", "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 200000)"
                    "INSERT INTO RawDataDetails SELECT 0, 'many', 1, i, 0, 0 FROM n");
        row("a rule is broken", "CREATE TABLE Own (X CHECK (X > 0));"
                                "PRAGMA ignore_check_constraints = ON; INSERT INTO Own VALUES (0)");
        row("WAL", "PRAGMA journal_mode = WAL");
    }
    void backups()
    {
        QFETCH(QByteArray, sql);
        m_live->run(sql);
        Clock clock(*m_live); // keeps a write-ahead log in use
        clock.punch();
        const QString target = path("b.mdb");
        QCOMPARE(sitetool({"backup", target}).errors, "");
        QVERIFY(QDir(m_live->folder()).mkdir("alone"));
        QVERIFY(QFile::rename(target, path("alone/Orvanta.mdb")));
        QCOMPARE(::chmod(qPrintable(path("alone/Orvanta.mdb")), 0400), 0);
        const QByteArray all = "SELECT *, _rowid_ FROM RawDataDetails";
        QCOMPARE(query("alone/Orvanta.mdb", all + "; PRAGMA journal_mode"),
                 m_live->run(all) + "\ndelete");
        QCOMPARE(m_live->run("SELECT RecordCount FROM RawData"), "3");

        QVERIFY(QFile::link("nowhere", target));
        QCOMPARE(sitetool({"backup", target}).status, 1);
        QVERIFY(!QFileInfo::exists(path("nowhere")));
    }

    /// Only files named as backups are removed, and never the one just made.
    void keeps()
    {
        const QStringList others{"Orvanta-2026-01-01-120000.mdb.gz", "Orvanta-2026-1-01-120000.mdb",
                                 "Orvanta-before-restore-2026-01-01-120000.mdb", "Orvanta.mdb"};
        const QStringList old{"Orvanta-2026-01-01-120000.mdb", "Orvanta-2026-01-02-120000.mdb",
                              "Orvanta-2199-01-01-120000.mdb", "Orvanta-2199-01-02-120000.mdb"};
        QVERIFY(QDir(m_live->folder()).mkdir("b"));
        for (const QString &name : others + old)
            TemporaryHome::write(path("b/" + name), {});
        QVERIFY(QFile::link("Orvanta.mdb", path("b/Orvanta-2025-01-01-120000.mdb")));
        QVERIFY(QFile::link("b", path("second")) && QFile::link("second", path("link")));
        const QRegularExpression ofToday(QDate::currentDate().toString("'Orvanta-'yyyy-MM-dd'-'") +
                                         "[0-9]{6}\\.mdb");
        QCOMPARE(sitetool({"backup", path("link"), "--keep", "2"}).errors, "");
        QStringList left = QDir(path("b")).entryList(QDir::Files);
        QCOMPARE(left.filter(ofToday).size(), 1);
        left.removeOne(left.filter(ofToday).value(0));
        QStringList expected = others;
        expected << old.last() << "Orvanta-2025-01-01-120000.mdb";
        QCOMPARE(QSet(left.begin(), left.end()), QSet(expected.begin(), expected.end()));

        QCOMPARE(sitetool({"backup", path("b"), "--keep", "0"}).status, 2);
        QCOMPARE(sitetool({"backup", path("none"), "--keep", "2"}).status, 2);
        QVERIFY(!QFileInfo::exists(path("none")));
    }

    /// A file that is damaged or not a time database is not restored, and a damaged one not backed
    /// up.
    void refusals_data()
    {
        Table<QByteArray, bool, QString> row("script", "isBackedUp", "why");
        row("damaged", "printf x | dd conv=notrunc bs=1 seek=8192", false, "age 3: ");
        row("index",
            "sqlite3 -cmd '.dbconfig defensive off' -cmd \"CREATE INDEX I ON Employee (Name); "
            "PRAGMA writable_schema = ON; UPDATE "
            "sqlite_master SET sql = 'CREATE INDEX I ON Employee (PersonalID)' WHERE name = 'I'\"",
            false, "missing from index I");
        row("cut", "truncate -s 6000", false, "malformed");
        row("no database", "sh -c 'seq 3000 >$0'", false, "not a database");
        row("Jet", R"(sh -c 'printf "\0\1\0\0Standard Jet DB\0" >$0')", false, "Microsoft Jet");
        row("no column", "sqlite3 -cmd 'ALTER TABLE RawDataDetails DROP Shift'", true,
            "not a backup of a time database: no such column: Shift");
        row("pipe", "sh -c 'rm $0; mkfifo $0'", false, "not a regular file");
        row("endless view",
            "sqlite3 -cmd 'DROP TABLE RawDataDetails; CREATE VIEW RawDataDetails AS "
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n'",
            true, "is not a backup of a time database");
    }
    void refusals()
    {
        QFETCH(QByteArray, script);
        QFETCH(bool, isBackedUp);
        QFETCH(QString, why);
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        const QByteArray before = TemporaryHome::read(m_live->file());
        const QByteArray of = script.contains("dd ") ? " of=" : " ";
        QCOMPARE(Run::start("sh", {"-c", script + of + path("b.mdb").toUtf8()}).status, 0);
        const Run run = sitetool({"restore", path("b.mdb"), "--yes"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QCOMPARE(TemporaryHome::read(m_live->file()), before);
        const Run again = Run::start(SITETOOL, {"--file", path("b.mdb"), "backup", path("c.mdb")});
        QCOMPARE(again.status, isBackedUp ? 0 : 1);
        QCOMPARE(QFileInfo::exists(path("c.mdb")), isBackedUp);
        QVERIFY(QDir(m_live->folder()).entryList({"*before*"}).isEmpty());
    }

    /// The live file, in its mode and place, while a clock has it open.
    void restores_data()
    {
        const QByteArray wal = "PRAGMA page_size = 1024; VACUUM; PRAGMA journal_mode = WAL";
        Table<QByteArray, QByteArray, QStringList> row("live", "backup", "options");
        row("plain", "", "", {});
        row("kept", "", "", {"--keep-punches"});
        row("WAL", wal, "", {});
        row("kept, WAL", wal, "", {"--keep-punches"});
        row("kept, WAL in the backup", "", wal, {"--keep-punches"});
        row("kept, other row numbers", "UPDATE RawDataDetails SET _rowid_ = _rowid_ + 10", "",
            {"--keep-punches"});
        row("kept, no batch", "", "DELETE FROM RawData", {"--keep-punches"});
        row("kept, ignored by a trigger", "",
            "CREATE TRIGGER Own BEFORE INSERT ON RawDataDetails WHEN new.MachineNo = 7 "
            "BEGIN SELECT raise(IGNORE); END",
            {"--keep-punches"});
        const QByteArray otherTable =
            "CREATE TABLE Correction (X); INSERT INTO Correction VALUES (1)";
        const QByteArray endlessView = "CREATE VIEW Correction AS WITH RECURSIVE n(i) AS "
                                       "(SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n";
        row("another's table Correction", otherTable, "", {});
        row("another's table Correction in the backup", "", otherTable, {});
        row("a view Correction", endlessView, "", {});
        row("a view Correction in the backup", "", endlessView, {});
        row("kept, own columns", "ALTER TABLE RawDataDetails ADD Here",
            "ALTER TABLE RawDataDetails ADD There", {"--keep-punches"});
    }
    void restores()
    {
        QFETCH(QByteArray, live);
        QFETCH(QByteArray, backup);
        QFETCH(QStringList, options);
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        query("b.mdb", backup);
        m_live->run(live);
        QCOMPARE(::chmod(qPrintable(m_live->file()), 0640), 0);
        const ino_t file = inode();
        Clock clock(*m_live);
        m_live->run(Later);
        clock.punch();
        const QByteArray journalMode = "PRAGMA journal_mode; PRAGMA page_size";
        const QString mode = m_live->run(journalMode);
        const QByteArray rows =
            "SELECT PersonalID, EventStatus, DateTime, MachineNo FROM RawDataDetails";
        const QString before = m_live->run(rows);

        const Run run =
            sitetool(QStringList{"restore", path("b.mdb"), "--yes", "--reason", "x"} + options);
        QCOMPARE(run.errors, "");
        QVERIFY2(run.output.contains("It lacks 2 punches") &&
                     run.output.contains("Anna Example  Clock Out  2026-03-23 16:00:00"),
                 qPrintable(run.output));
        QCOMPARE(m_live->run(rows), options.isEmpty() ? query("b.mdb", rows) : before);
        QCOMPARE(m_live->run("SELECT RecordCount FROM RawData"), options.isEmpty() ? "2"
                                                                 : backup.startsWith("DELETE")
                                                                     ? "2"
                                                                     : "4");
        QCOMPARE(m_live->run("SELECT Change, Reason FROM Correction"), "restored|x");
        if (live.isEmpty() || backup.isEmpty())
            QCOMPARE(m_live->run(journalMode), mode);
        QCOMPARE(inode(), file);
        const QStringList kept = QDir(m_live->folder()).entryList({"Orvanta-before-restore-*.mdb"});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(query(kept.first(), rows), before);

        clock.punch();
        QCOMPARE(m_live->run("SELECT count(*) FROM RawDataDetails"), options.isEmpty() ? "3" : "5");
        QCOMPARE(m_live->run("PRAGMA integrity_check"), "ok");
    }

    /// A correction made after the backup outlives it, once.
    void corrections()
    {
        const QByteArray log = "SELECT Reason FROM Correction";
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        QCOMPARE(sitetool({"restore", path("b.mdb"), "--yes", "--reason", "1"}).status, 0);
        QCOMPARE(sitetool({"backup", path("c.mdb")}).status, 0);
        for (const char *reason : {"2", "3"}) {
            for (const QString &old : QDir(m_live->folder()).entryList({"*before*"}))
                QVERIFY(QFile::remove(path(old)));
            QCOMPARE(sitetool({"restore", path("c.mdb"), "--yes", "--reason", reason}).status, 0);
        }
        QCOMPARE(m_live->run(log), "1\n2\n3");
    }

    /// A file that SQLite cannot open is moved aside with its journal, or is missing.
    void unusable_data()
    {
        Table<QByteArray, int> row("content", "status");
        row("missing", {}, 0);
        row("no database", QByteArray(5000, 'x'), 1);
        row("Jet", QByteArray("\0\1\0\0Standard Jet DB\0", 20).leftJustified(4096), 1);
    }
    void unusable()
    {
        QFETCH(QByteArray, content);
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        QVERIFY(QFile::remove(m_live->file()));
        if (!content.isNull()) {
            TemporaryHome::write(m_live->file(), content);
            TemporaryHome::write(m_live->file() + "-wal", "log");
            QCOMPARE(sitetool({"restore", path("b.mdb"), "--yes", "--keep-punches"}).status, 1);
            QCOMPARE(TemporaryHome::read(m_live->file()), content);
        }
        QCOMPARE(sitetool({"restore", path("b.mdb"), "--yes"}).errors, "");
        QVERIFY(QDir(m_live->folder()).entryList({"Orvanta.mdb-*"}).isEmpty());
        QCOMPARE(m_live->run("SELECT count(*), Change FROM RawDataDetails, Correction"),
                 "2|restored");
        const QStringList kept = QDir(m_live->folder()).entryList({"*before*"});
        QCOMPARE(kept.isEmpty(), content.isNull());
        if (!content.isNull())
            QCOMPARE(TemporaryHome::read(path(kept.first())), content);
    }

    /// Punches that cannot be read are not lost where they were to be kept.
    void unreadablePunches()
    {
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        m_live->run("DROP TABLE RawDataDetails");
        const QByteArray before = TemporaryHome::read(m_live->file());
        QCOMPARE(sitetool({"restore", path("b.mdb"), "--yes", "--keep-punches"}).status, 1);
        QCOMPARE(TemporaryHome::read(m_live->file()), before);
        QCOMPARE(sitetool({"restore", path("b.mdb"), "--yes"}).errors, "");
        QCOMPARE(m_live->run("SELECT count(*) FROM RawDataDetails"), "2");
    }

    /// Without a terminal it asks nothing. On one, a punch that comes in before the answer is shown
    /// before it can be lost.
    void asks()
    {
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        QCOMPARE(sitetool({"restore", path("b.mdb")}).status, 2);
        const Run itself = sitetool({"restore", m_live->file(), "--yes"});
        QVERIFY2(itself.errors.contains("is the database itself"), qPrintable(itself.errors));

        const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        QCOMPARE(::grantpt(terminal) | ::unlockpt(terminal), 0);
        QProcess process;
        process.setStandardInputFile(::ptsname(terminal));
        process.start(SITETOOL, {"--file", m_live->file(), "restore", path("b.mdb")});
        QByteArray said;
        const auto isAsked = [&] {
            process.waitForReadyRead(10);
            said += process.readAllStandardOutput();
            return said.endsWith("[y/N] ");
        };
        QTRY_VERIFY(isAsked());
        QVERIFY2(said.contains("It has all punches"), said.constData());
        m_live->run(Later);
        said.clear();
        QCOMPARE(::write(terminal, "y\n", 2), 2);
        QTRY_VERIFY(isAsked());
        QVERIFY2(said.contains("It lacks 1 punch "), said.constData());
        m_live->run("UPDATE RawDataDetails SET PersonalID = '1005' WHERE MachineNo = 7");
        said.clear();
        QCOMPARE(::write(terminal, "y\n", 2), 2);
        QTRY_VERIFY(isAsked());
        QVERIFY2(said.contains("Emma Fiction"), said.constData());
        QCOMPARE(::write(terminal, "\n", 1), 1);
        QVERIFY(process.waitForFinished());
        ::close(terminal);
        QCOMPARE(process.exitCode(), 1);
        QCOMPARE(m_live->run("SELECT count(*) FROM RawDataDetails"), "3");
        QVERIFY(QDir(m_live->folder()).entryList({"*before*"}).isEmpty());
    }

    /// Killed while it writes, it leaves the old contents, which the next connection restores, or
    /// the new ones if it had just finished.
    void killed()
    {
        m_live->run("WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 200000)"
                    "INSERT INTO RawDataDetails SELECT 0, 'many', 1, i, 0, 0 FROM n");
        QCOMPARE(sitetool({"backup", path("b.mdb")}).status, 0);
        bool wasUndone = false;
        for (int tries = 0; tries < 20 && !wasUndone; ++tries) {
            for (const QString &kept : QDir(m_live->folder()).entryList({"*before*"}))
                QVERIFY(QFile::remove(path(kept)));
            m_live->run("UPDATE RawDataDetails SET MachineNo = 1");
            const QByteArray before = TemporaryHome::read(m_live->file());
            const int watch = ::inotify_init1(IN_CLOEXEC);
            QVERIFY(::inotify_add_watch(watch, qPrintable(m_live->file()), IN_MODIFY) > 0);
            QProcess process;
            process.start(SITETOOL, {"--file", m_live->file(), "restore", path("b.mdb"), "--yes"});
            QVERIFY(process.waitForStarted());
            alignas(inotify_event) std::array<char, 4096> events{};
            QVERIFY(::read(watch, events.data(), events.size()) > 0);
            ::close(watch);
            QCOMPARE(::kill(static_cast<pid_t>(process.processId()), SIGKILL), 0);
            QVERIFY(process.waitForFinished());
            const bool hasWritten = TemporaryHome::read(m_live->file()) != before;
            QCOMPARE(m_live->run("PRAGMA integrity_check"), "ok");
            const QString left =
                m_live->run("SELECT min(MachineNo), max(MachineNo) FROM RawDataDetails");
            QVERIFY2(left == "0|0" || left == "1|1", qPrintable(left));
            wasUndone = hasWritten && left == "1|1";
        }
        QVERIFY(wasUndone);
    }

private:
    /// A clock that has the database open.
    struct Clock {
        explicit Clock(const TestDatabase &database)
        {
            environment.conOV.ConnectionString(database.connectionString());
            environment.conOV.database();
        }
        void punch()
        {
            SavePunch(host, environment, "1002", QDateTime({2026, 3, 24}, {8, 0}), 1);
            QCOMPARE(host.boxes, QStringList());
        }
        ScriptedHost host;
        DataEnvironment environment;
    };

    QString path(const QString &name) const { return m_live->folder() + '/' + name; }

    Run sitetool(const QStringList &arguments) const
    {
        return Run::start(SITETOOL, QStringList{"--file", m_live->file()} + arguments);
    }

    QString query(const QString &name, const QByteArray &sql) const
    {
        const Run run = Run::start("sqlite3", {path(name), sql});
        return (run.output + run.errors).trimmed();
    }

    ino_t inode() const
    {
        struct stat status = {};
        ::lstat(qPrintable(m_live->file()), &status);
        return status.st_ino;
    }

    std::unique_ptr<TestDatabase> m_live;
};

QTEST_GUILESS_MAIN(TestBackup)
#include "tst_backup.moc"
