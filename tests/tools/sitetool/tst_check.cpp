#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QProcess>

#include <fcntl.h>
#include <sys/file.h>

using namespace Tavrel;

/// A site of its own for each row: the sample's database, a reader on COM1, and this process in the
/// place of the clock, with the clock's lock and the port.
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
        row("healthy", "", 0, "ok: The next punch begins the batch 0.");
        row("WAL", "PRAGMA journal_mode = WAL", 0, "ok: The journal mode is wal.");
        row("joined", punches + "INSERT INTO RawData VALUES (4, 1, 1, 'MSR')", 0,
            "ok: The next punch joins the batch 4, which has 1 punches.");
        row("count", punches + "INSERT INTO RawData VALUES (4, 7, 1, 'MSR')", 0,
            "note: The next punch joins the batch 4, which has 1 punches but \"7\"");
        row("used up", "INSERT INTO RawData VALUES (32767, 1, 1, 'X')", 1,
            "STOPS PUNCHES: A punch is refused: Overflow. The number of the batch");
        row("no column", "ALTER TABLE RawDataDetails DROP COLUMN Shift", 1,
            "STOPS PUNCHES: RawDataDetails is not as the clock needs it: no such column: Shift.");
        row("no employees", "DROP TABLE Employee", 0,
            "note: Employee is not as the clock needs it: no such table: Employee.");
        row("view", "ALTER TABLE RawData RENAME TO R; CREATE VIEW RawData AS SELECT * FROM R", 1,
            "STOPS PUNCHES: A punch is refused: `RawData` cannot be written: it is a view");
        row("column of others", "ALTER TABLE RawDataDetails ADD COLUMN Own CHECK (Own IS NOT NULL)",
            1, "STOPS PUNCHES: A punch is refused: CHECK constraint failed");
        row("trigger",
            "CREATE TRIGGER Guard BEFORE INSERT ON RawDataDetails BEGIN SELECT RAISE(IGNORE); END",
            1, "note: The trigger Guard on RawDataDetails runs within each punch.");
        row("number", employees + "INSERT INTO Employee VALUES (7, 'Ann')", 0,
            "note: Badges stored as numbers, which have lost leading zeros and may be shown as "
            "Unknown: 7.");
        row("badges declared as numbers",
            "DROP TABLE Employee; CREATE TABLE Employee (PersonalID DECIMAL, Name)", 0,
            "note: Employee.PersonalID is declared as a number, so the badges 00123 and 123 are");
        const QByteArray details = "DROP TABLE RawDataDetails; CREATE TABLE RawDataDetails (ID, "
                                   "PersonalID INT, EventStatus, DateTime, Shift, MachineNo)";
        row("punches declared as numbers", details, 1,
            "WRONG PUNCHES: A punch of badge 00123 is stored for badge \"123\". RawDataDetails");
        row("punches changed",
            "CREATE TRIGGER Guard AFTER INSERT ON RawDataDetails BEGIN UPDATE RawDataDetails SET "
            "PersonalID = 'x'; END",
            1, "WRONG PUNCHES: A punch of badge 00123 is stored for badge \"x\". A trigger on");
        row("no punch", "", 0, "ok: No punch is stored yet.");
        row("last punch", punches, 0,
            "ok: The last stored punch is of badge \"1\", Clock In, at 1. Punches of today: 0.");
        row("punches of today",
            "INSERT INTO RawDataDetails SELECT 0, '7', 0, datetime('now', 'localtime'), 0, 0 FROM "
            "Employee LIMIT 3; INSERT INTO RawDataDetails VALUES (0, '\x1B', 0, '2026-03-23 "
            "08:00:00', 0, 0)",
            0, "is of badge \"\\x1B\", Clock Out, at 2026-03-23 08:00:00. Punches of today: 3.");
        row("odd badge", employees + "INSERT INTO Employee VALUES (char(27, 127, 8238, 160), NULL)",
            0,
            "note: Employees whose Name is Null, which is a message box at each swipe: "
            "\\x1B\\x7F\\u202E\\xA0.");
        row("as many as are listed",
            employees +
                "INSERT INTO Employee VALUES (1, 1), (2, 1), (3, 1), (4, 1), (5, 1), (6, 1), "
                "(7, 1), (8, 1), (9, 1), (10, 1)",
            0, "Unknown: 1, 2, 3, 4, 5, 6, 7, 8, 9, 10.");
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

    /// As installed, where a link has the name that is to be called.
    void file_data()
    {
        Table<QByteArray, int, QString> row("content", "status", "line");
        row("none", {}, 1, "Where there is none, tavrel-sitetool new makes one.");
        row("Jet", QByteArray("\0\1\0\0Standard Jet DB\0", 20).leftJustified(4096), 1,
            "Bring a Jet or Access database over by tavrel-sitetool import;");
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
        row("of its owner", 12345, 0600, "in mode 600. That leaves nobody out: the");
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

    /// Neither is decided by the clock's own code: a punch is tried without a journal on the disk.
    void rights()
    {
        const QString program = copiedProgram();
        QVERIFY(chmod(qPrintable(m_database->folder()), 0555) == 0);
        asOrdinaryUser([&] {
            expect(1, "STOPS PUNCHES: " + m_database->folder() + " cannot be written: Permission",
                   program);
        });
    }

    /// Another program locks the database, and then leaves a journal behind, as by a crash.
    void cutOff()
    {
        sqlite3 *other = nullptr;
        sqlite3_open(qPrintable(m_database->file()), &other);
        const auto close = qScopeGuard([&] { sqlite3_close(other); });
        sqlite3_exec(other,
                     "PRAGMA cache_size = 1; BEGIN EXCLUSIVE; UPDATE Employee SET Name = "
                     "zeroblob(20000)",
                     nullptr, nullptr, nullptr);
        expect(1, "STOPS PUNCHES: The database cannot be read: database is locked.");
        const QString journal = m_database->file() + "-journal";
        QVERIFY(QFile::copy(journal, journal + "-kept"));
        sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
        QVERIFY(QFile::rename(journal + "-kept", journal));
        expect(1, "NOT CLEAR: The database cannot be read: ");
        QVERIFY(QFile::exists(journal));
    }

    void settings_data()
    {
        Table<QByteArray, int, QString> row("settings", "status", "line");
        row("not a number", "[Communication]\nComport=x", 0,
            "note: Communication/Comport is \"x\", which is taken for 0: COM1.");
        row("other port", "[Communication]\nComport=3", 1, "STOPS PUNCHES: COM4 is ");
        row("beyond the ports", "[Communication]\nComport=8", 1, "STOPS PUNCHES: COM9 is ");
        row("no port", "[Communication]\nComport=99999", 1,
            "STOPS PUNCHES: Communication/Comport is \"99999\", which stands for nothing.");
        row("no rate", "[Communication]\nBaudRate=3", 1,
            "STOPS PUNCHES: Communication/BaudRate is \"3\", which stands for nothing.");
        row("no track", "[MSR]\nTrack=3", 1,
            "STOPS PUNCHES: MSR/Track is \"3\", which stands for nothing.");
        row("no time", "[Punch]\nClockIn=soon", 0, "note: Punch/ClockIn is \"soon\"");
        row("no text", "\xFF\xFE", 0, "is no ini file in UTF-8");
    }
    void settings()
    {
        QFETCH(QByteArray, settings);
        m_home->writeSettings(settings);
        expectLine();
    }

    /// Who holds the port, and whether that is the clock; the line is not touched meanwhile.
    void port()
    {
        const QString port = m_home->path("Tavrel/COM1");
        m_reader->send("a swip\n"); // whole lines only, as nobody has set the line
        expect(0, "The clock has it.");
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

    /// What the check has said, which contains `line`.
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

    /// The program where each user may run it, as the build's own folder may be closed to others.
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
