#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QProcess>

#include <fcntl.h>
#include <sys/file.h>

using namespace Tavrel;

/// Each row has its own site: the sample database, a reader on COM1, and this process acting as the
/// clock, with its lock and the port.
class TestCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The database as `sql` leaves it.
    void database_data()
    {
        const QByteArray punches = "INSERT INTO RawDataDetails VALUES (4, '1', 1, 1, 0, 0);";
        const QByteArray employees =
            "DROP TABLE Employee; CREATE TABLE Employee (PersonalID, Name);";
        Table<QByteArray, int, QString> row("sql", "status", "line");
        row("healthy", "", 0, "ok: The next punch starts batch 0.");
        row("WAL", "PRAGMA journal_mode = WAL", 0, "ok: The journal mode is wal.");
        row("joined", punches + "INSERT INTO RawData VALUES (4, 1, 1, 'MSR')", 0,
            "ok: The next punch joins batch 4.");
        row("right counts",
            punches + "INSERT INTO RawData VALUES (4, 1, 1, 'MSR'), (4, 9, 1, ''), (5, 0, 1, '')",
            0, "ok: The RecordCount of each batch is the number of its punches.");
        row("wrong count",
            punches + "INSERT INTO RawData VALUES (0, 0, 1, 'MSR'), (4, '1x', 1, 'X')", 0,
            "note: Batch 4 has 1 punches but a RecordCount of \"1x\"; the clock only adds to it.");
        row("wrong counts",
            "WITH RECURSIVE b(i) AS (SELECT 1 UNION SELECT i + 1 FROM b LIMIT 11) "
            "INSERT INTO RawData SELECT i, NULL, 1, 'X' FROM b",
            0,
            "Batches with a wrong RecordCount: 11. Mend them with sitetool check --mend-counts.");
        row("used up", "INSERT INTO RawData VALUES (32767, 1, 1, 'X')", 1,
            "STOPS PUNCHES: A punch is rejected: Overflow. The number of a batch");
        row("no column", "ALTER TABLE RawDataDetails DROP COLUMN Shift", 1,
            "STOPS PUNCHES: RawDataDetails lacks what the clock needs: no such column: Shift.");
        row("no employees", "DROP TABLE Employee", 0,
            "note: Employee lacks what the clock needs: no such table: Employee.");
        row("view", "ALTER TABLE RawData RENAME TO R; CREATE VIEW RawData AS SELECT * FROM R", 1,
            "STOPS PUNCHES: A punch is rejected: `RawData` cannot be written: it is a view");
        row("column of others", "ALTER TABLE RawDataDetails ADD COLUMN Own CHECK (Own IS NOT NULL)",
            1, "STOPS PUNCHES: A punch is rejected: CHECK constraint failed");
        row("trigger",
            "CREATE TRIGGER Guard BEFORE INSERT ON RawDataDetails BEGIN SELECT RAISE(IGNORE); END",
            1, "note: The trigger Guard on RawDataDetails runs at each punch.");
        row("number", employees + "INSERT INTO Employee VALUES (7, 'Ann')", 0,
            "note: Badges stored as numbers (without leading zeros, and possibly shown as "
            "Unknown): 7.");
        row("badges declared as numbers",
            "DROP TABLE Employee; CREATE TABLE Employee (PersonalID DECIMAL, Name)", 0,
            "note: Employee.PersonalID is declared as a number, so badges 00123 and 123 are");
        const QByteArray details = "DROP TABLE RawDataDetails; CREATE TABLE RawDataDetails (ID, "
                                   "PersonalID INT, EventStatus, DateTime, Shift, MachineNo)";
        row("punches declared as numbers", details, 1,
            "WRONG PUNCHES: A punch of badge 00123 is stored as badge \"123\". RawDataDetails");
        row("punches changed",
            "CREATE TRIGGER Guard AFTER INSERT ON RawDataDetails BEGIN UPDATE RawDataDetails SET "
            "PersonalID = 'x'; END",
            1, "WRONG PUNCHES: A punch of badge 00123 is stored as badge \"x\". A trigger on");
        row("no punch", "", 0, "ok: No punches are stored yet.");
        row("last punch", punches, 0,
            "ok: The last stored punch is of badge \"1\", Clock In, at 1. Punches today: 0.");
        row("punches of today",
            "INSERT INTO RawDataDetails SELECT 0, '7', 0, datetime('now', 'localtime'), 0, 0 FROM "
            "Employee LIMIT 3; INSERT INTO RawDataDetails VALUES (0, '\x1B', 0, '2026-03-23 "
            "08:00:00', 0, 0)",
            0, "is of badge \"\\x1B\", Clock Out, at 2026-03-23 08:00:00. Punches today: 3.");
        row("odd badge", employees + "INSERT INTO Employee VALUES (char(27, 127, 8238, 160), NULL)",
            0,
            "note: Employees whose Name is Null (each swipe shows a message box): "
            "\\x1B\\x7F\\u202E\\xA0.");
        row("as many as are listed",
            employees +
                "INSERT INTO Employee VALUES (1, 1), (2, 1), (3, 1), (4, 1), (5, 1), (6, 1), "
                "(7, 1), (8, 1), (9, 1), (10, 1)",
            0, "Unknown): 1, 2, 3, 4, 5, 6, 7, 8, 9, 10.");
    }
    void database()
    {
        QFETCH(QByteArray, sql);
        m_database->run(sql);
        const QByteArray before = TemporaryHome::read(m_database->file());
        expectLine();
        QCOMPARE(TemporaryHome::read(m_database->file()), before);
        QCOMPARE(QDir(m_database->folder()).entryList(QDir::Files), {"Orvanta.mdb"});
    }

    /// As installed, with the command a link to the program.
    void file_data()
    {
        Table<QByteArray, int, QString> row("content", "status", "line");
        row("none", {}, 1, "If it does not exist, make it with tavrel-sitetool new.");
        row("Jet", QByteArray("\0\1\0\0Standard Jet DB\0", 20).leftJustified(4096), 1,
            "If it is a Jet or Access database, convert it with tavrel-sitetool import;");
    }
    void file()
    {
        QFETCH(QByteArray, content);
        QVERIFY(QFile::remove(m_database->file()));
        if (!content.isNull())
            TemporaryHome::write(m_database->file(), content);
        const QString installed = m_home->path("tavrel-sitetool");
        QVERIFY(QFile::link(SITETOOL, installed));
        QFETCH(int, status);
        QFETCH(QString, line);
        expect(status, line, installed);
    }

    /// A line that belongs to another user.
    void rightsOfLine_data()
    {
        Table<uint, uint, QString> row("group", "mode", "line");
        row("of a group", 12345, 0660,
            "group 12345, in mode 660. The group may use it, and nobody");
        row("of this user's group", 65534, 0660, "nobody is in that group, but not yet in this");
        row("of its owner", 12345, 0600, "in mode 600. That excludes nobody: the");
    }
    void rightsOfLine()
    {
        if (geteuid() != 0)
            QSKIP("Only root can keep a line from another user.");
        QFETCH(uint, group);
        QFETCH(uint, mode);
        QFETCH(QString, line);
        const QString program = copiedProgram();
        const QString device = QFileInfo(m_home->path("Tavrel/COM1")).symLinkTarget();
        QVERIFY(chown(qPrintable(device), 0, group) == 0 && chmod(qPrintable(device), mode) == 0);
        QVERIFY(chmod(qPrintable(m_home->path({})), 0755) == 0);
        asOrdinaryUser([&] {
            const QString said = expect(1, line, program);
            QVERIFY2(!said.contains("Plug the reader in"), qPrintable(said));
        });
    }

    /// Only `check` looks at the rights: its test punch has no journal on the disk.
    void rights()
    {
        const QString program = copiedProgram();
        QVERIFY(chmod(qPrintable(m_database->folder()), 0555) == 0);
        asOrdinaryUser([&] {
            expect(1, "STOPS PUNCHES: Cannot write " + m_database->folder() + ": Permission",
                   program);
        });
    }

    /// Another program locks the database, then leaves a journal as if it had crashed.
    void cutOff()
    {
        sqlite3 *other = nullptr;
        sqlite3_open(qPrintable(m_database->file()), &other);
        const auto close = qScopeGuard([&] { sqlite3_close(other); });
        sqlite3_exec(other,
                     "PRAGMA cache_size = 1; BEGIN EXCLUSIVE; UPDATE Employee SET Name = "
                     "zeroblob(20000)",
                     nullptr, nullptr, nullptr);
        expect(1, "STOPS PUNCHES: Cannot read the database: database is locked.");
        const QString journal = m_database->file() + "-journal";
        QVERIFY(QFile::copy(journal, journal + "-kept"));
        sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
        QVERIFY(QFile::rename(journal + "-kept", journal));
        expect(1, "UNKNOWN: Cannot read the database: ");
        QVERIFY(QFile::exists(journal));
    }

    void settings_data()
    {
        Table<QByteArray, int, QString> row("settings", "status", "line");
        row("not a number", "[Communication]\nComport=x", 0,
            "note: Communication/Comport is \"x\", which is read as 0: COM1.");
        row("other port", "[Communication]\nComport=3", 1, "STOPS PUNCHES: COM4 is ");
        row("beyond the ports", "[Communication]\nComport=8", 1, "STOPS PUNCHES: COM9 is ");
        row("no port", "[Communication]\nComport=99999", 1,
            "STOPS PUNCHES: Communication/Comport is \"99999\", which is out of range.");
        row("no rate", "[Communication]\nBaudRate=3", 1,
            "STOPS PUNCHES: Communication/BaudRate is \"3\", which is out of range.");
        row("no track", "[MSR]\nTrack=3", 1,
            "STOPS PUNCHES: MSR/Track is \"3\", which is out of range.");
        row("no time", "[Punch]\nClockIn=soon", 0, "note: Punch/ClockIn is \"soon\"");
        row("no text", "\xFF\xFE", 0, "is not an INI file in UTF-8");
    }
    void settings()
    {
        QFETCH(QByteArray, settings);
        m_home->writeSettings(settings);
        expectLine();
    }

    /// Which process uses the port, and whether it is the clock; check leaves the line alone.
    void port()
    {
        const QString port = m_home->path("Tavrel/COM1");
        m_reader->send("a swip\n"); // complete lines only, as the line is not raw
        expect(0, "The clock is using it.");
        QCOMPARE(::flock(m_line.get(), LOCK_UN), 0);
        expect(1, "The running clock has not opened it");
        m_claim = {};
        expect(1, "STOPS PUNCHES: The clock is not running for this user: start it.");
        QCOMPARE(::flock(m_line.get(), LOCK_EX), 0);
        expect(1, "tst_check (process ");
        char swipe[8] = {};
        QCOMPARE(::read(m_line.get(), swipe, sizeof swipe), 7);

        QVERIFY(QFile::remove(port) && QFile::link("/dev/null", port));
        expect(1, "It is not a serial line. Plug the reader in");
        m_reader.reset();
        QVERIFY(QFile::remove(port) && QFile::link("nowhere", port));
        expect(1, "No such file or directory. Plug the reader in");
    }

    void init()
    {
        m_home = std::make_unique<TemporaryHome>();
        qputenv("XDG_RUNTIME_DIR", m_home->path({}).toUtf8());
        m_database = std::make_unique<TestDatabase>();
        m_reader = std::make_unique<VirtualReader>();
        const QString port = m_home->path("Tavrel/COM1");
        m_reader->linkAt(port);
        m_line = FileDescriptor(::open(qPrintable(port), O_RDWR | O_NOCTTY | O_NONBLOCK));
        m_claim =
            FileDescriptor(::open(qPrintable(m_home->path("Tavrel.lock")), O_RDWR | O_CREAT, 0600));
        QVERIFY(::flock(m_line.get(), LOCK_EX) == 0 && ::flock(m_claim.get(), LOCK_EX) == 0);
    }

private:
    void expectLine()
    {
        QFETCH(int, status);
        QFETCH(QString, line);
        expect(status, line);
    }

    /// Runs the check and returns its output, which must contain `line`.
    QString expect(int status, const QString &line, const QString &program = SITETOOL)
    {
        QProcess check;
        check.start(program, {"check", m_database->file()});
        const bool ends = check.waitForFinished() && check.exitStatus() == QProcess::NormalExit;
        QString said = QString::fromUtf8(check.readAllStandardOutput());
        [&] {
            QVERIFY(ends);
            QVERIFY2(said.contains(line), qPrintable(said));
            QVERIFY2(check.exitCode() == status, qPrintable(said));
        }();
        return said;
    }

    /// A copy of the program that any user may run, as the build folder may be private.
    QString copiedProgram() const
    {
        QString program = m_database->folder() + "/sitetool";
        if (!QFile::copy(SITETOOL, program) || chmod(qPrintable(m_database->folder()), 0755) != 0)
            qFatal("cannot copy the program");
        return program;
    }

    std::unique_ptr<TemporaryHome> m_home;
    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<VirtualReader> m_reader;
    FileDescriptor m_line;
    FileDescriptor m_claim;
};

QTEST_GUILESS_MAIN(TestCheck)
#include "tst_check.moc"
