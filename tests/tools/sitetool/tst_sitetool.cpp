#include "tests/support/Run.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"
#include "tools/console/NotDone.h"
#include "tools/sitetool/OldDatabase.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <csignal>

using namespace Tavrel;

/// Bytes that replace those of the old file at `at`; if null, the file is truncated there.
struct Patch {
    qsizetype at;
    QByteArray bytes;
};
using Patches = QList<Patch>;

/// A place in the Jet 4 or Jet 3 sample.
static constexpr qsizetype in4(int page, int offset)
{
    return page * 4096 + offset;
}
static constexpr qsizetype in3(int page, int offset)
{
    return page * 2048 + offset;
}
static constexpr qsizetype End4 = 217088;
static constexpr qsizetype Begins = in4(52, 4075);           // of the first shift
static constexpr qsizetype Department = in4(8, 63 + 2 * 25); // the column's definition

template <typename Number> static QByteArray bytesOf(Number number)
{
    number = qToLittleEndian(number);
    return QByteArray(reinterpret_cast<const char *>(&number), sizeof number);
}

static QByteArray wide(const QString &text)
{
    return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

class TestSitetool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        // These change what mdbtools prints.
        for (const char *name : {"MDB_JET3_CHARSET", "MDBICONV", "MDBOPTS"})
            qputenv(name, "KOI8-R");
    }
    void cleanup() { qputenv("PATH", m_path); }

    void values_data()
    {
        const QByteArray begins = "SELECT Begins FROM Shifts LIMIT 1";
        const double halfSecond = 0.5 / 86400;
        Table<int, Patches, QByteArray, QString> row("version", "patches", "sql", "result");
        row("Jet 4", 4, {},
            "SELECT Name, CAST(Rate AS TEXT), Active, Department, HiredOn FROM Employee LIMIT 6",
            "'Åsa Öberg','13.5',1,'Lager','1969-07-20 00:00:00'\n"
            "'Nuñez',NULL,0,'Büro','1970-12-02 00:00:00'\n"
            "'Łukasz','0.0',1,'R&D','1972-04-15 00:00:00'\n"
            "'Иван Петров','-1.25',1,NULL,'1973-08-28 00:00:00'\n"
            "'王小明','12345678.9012',0,NULL,'1975-01-10 00:00:00'\n"
            "'Sean O''Neill','0.0001',1,'Über/unter',NULL");
        row("names", 4, {}, "SELECT PersonalID FROM Employee WHERE Name = ''", "'00009'\n'00010'");
        row("Jet 3", 3, {}, "SELECT Name, Department FROM Employee LIMIT 2; SELECT * FROM Shifts",
            "'Åsa Öberg','Lager'\n'Nuñez','Büro'\n1,'1899-12-30 06:00:00','Früh'\n"
            "2,'1899-12-30 14:15:30','Spät'\n3,'1899-12-30 00:00:00','Nacht'");
        for (const int version : {3, 4})
            row("punches", version, {},
                "SELECT count(*), sum(ID), sum(Shift), sum(MachineNo), count(Shift), min(DateTime),"
                " max(DateTime) FROM RawDataDetails; SELECT * FROM RawData",
                "1200,14159,2183,35763,1091,'1998-01-01 00:00:00','2024-03-29 17:02:11'\n"
                "0,3,'2024-03-29 17:02:11','MSR'\n7,41,'2023-12-31 23:59:59','T-200'");
        row("memos", 4, {},
            "SELECT Notes = 'first line' || char(13, 10) || 'second line' FROM Employee "
            "WHERE PersonalID = '00003'; SELECT length(Notes), replace(Notes, 'long memo Ł ', '') "
            "FROM Employee WHERE PersonalID = '00010'",
            "1\n9600,''");
        row("before a day's end", 4, {{Begins, bytesOf(36524 + 1 - halfSecond * 1.1)}}, begins,
            "'1999-12-30 23:59:59'");
        row("left out by daylight saving", 4, {{Begins, bytesOf(36233 + 2.5 / 24)}}, begins,
            "'1999-03-14 02:30:00'");
        row("bytes", 4, {{Department, "\x09"}}, "SELECT Department FROM Employee LIMIT 1",
            "X'fffe4c61676572'");
        row("GUIDs", 4, {{Department, "\x0f"}},
            "SELECT Department, typeof(Department) FROM Employee LIMIT 1",
            "'{614CFEFF-6567-2B72-002B002400190012}','text'");
        row("decimals", 4, {{Department, "\x10"}},
            "SELECT typeof(Department) FROM Employee LIMIT 1", "'real'");
        row("numbers", 4, {{in4(9, 63 + 25), "\x07"}}, begins, "0.25");
        row("names of tables and columns", 4,
            {{in4(9, 170), wide("L\"]\u00b4 ")}, {in4(11, 3140), wide("a \"b'\u5348")}},
            "SELECT \"L\"\"]´ \" FROM \"a \"\"b'午\" LIMIT 1", "'Früh'");
        row("another case", 3, {{in3(12, 1487), "RAWDATADETAILS"}},
            "SELECT count(*) FROM RawDataDetails", "1200");
        // The shifts become the employees, and their number the badge.
        row("numbers as badges", 4,
            {{in4(11, 0xc71), "\x09"},
             {in4(11, 0xc26), "\x08"},
             {in4(9, 138), wide("\x14PersonalID\x08Time\x08Name")}},
            "SELECT Name, typeof(PersonalID) FROM Employee WHERE PersonalID = '2'",
            "'Spät','text'");
        row("named as the engine's", 4, {{in4(11, 3140), wide("MSysAB")}},
            "SELECT count(*) FROM MSysAB", "3");
    }
    void values()
    {
        QFETCH(int, version);
        QFETCH(Patches, patches);
        QFETCH(QByteArray, sql);
        unpack(version, patches);
        const Run run = import();
        QCOMPARE(run.errors, "");
        QCOMPARE(run.status, 0);
        QTEST(query(sql), "result");
    }

    void report()
    {
        const int shifts = in4(11, 0xc24); // in the catalogue
        for (const char *type : {"\x04", "\x06"}) {
            unpack(4, {{shifts + 10, type}, {in4(11, 3140), wide("\x1b[31m")}});
            QCOMPARE(import().output, "Table           rows in the old file     rows imported\n"
                                      "RawData                            2                 2\n"
                                      "RawDataDetails                  1200              1200\n"
                                      "Employee                          40                40\n"
                                      "\\x1B[31ms               in another file              none\n"
                                      "Made " +
                                          path("new.mdb") + ".\n");
            QVERIFY(QFile::remove(path("new.mdb")));
        }
    }

    /// Each refusal leaves nothing but the old file, and reports why.
    void refusals_data()
    {
        const double halfSecond = 0.5 / 86400;
        Table<int, Patches, QString> row("version", "patches", "why");
        row("empty", 4, {{0, {}}}, "not a Jet or Access database");
        row("only a head", 4, {{in4(1, 0), {}}}, "mdb-count reports \"offset 8192 is beyond EOF\"");
        row("cut within the last page", 4, {{End4 - 1, {}}}, "last page is incomplete");
        row("cut after a page", 4, {{in4(40, 0), {}}}, "damaged");
        row("cut before the shifts", 4, {{in4(52, 0), {}}}, "mdb-json reports");
        row("no Jet file", 4, {{4, "S"}, {8, "x"}}, "not a Jet or Access database");
        row("encrypted", 4, {{62, "x"}}, "encrypted");
        row("one row fewer", 4, {{in4(7, 16), bytesOf(1199)}}, "1199 rows, found 1200");
        row("one row more", 3, {{in3(7, 12), bytesOf(1201)}}, "1201 rows, found 1200");
        row("deleted row", 4, {{in4(52, 15), "\x4f"}}, "3 rows, found 2");
        row("lost object", 4, {{in4(11, 37), "\x4c"}}, "12 rows, found 11");
        row("page of others", 4, {{in4(26, 4), "\x08"}}, "page 26 from map");
        row("memo's chain", 4, {{in4(40, 16), "\x01"}}, "beyond EOF");
        row("no usage map", 3, {{in3(9, 35), "\x20"}}, "the file is damaged");
        row("unknown type", 4, {{Department, "\x11"}}, "unsupported data type 17");
        row("no such table", 3, {{in3(12, 1487), "x"}},
            "RawDataDetails.ID, which the clock needs, is missing");
        row("no such column", 4, {{in4(8, 262), "M"}},
            "Employee.Name, which the clock needs, is missing");
        row("column of another kind", 4, {{in4(8, 63 + 25), "\x09"}},
            "Employee.Name must contain texts");
        row("no whole number", 4, {{in4(7, 63 + 2 * 25), "\x10"}}, "\"EventStatus\", row 1");
        row("at a day's end", 4, {{Begins, bytesOf(36524 + 1 - halfSecond * 0.9)}}, "24:00:00");
        row("no time", 4, {{Begins, bytesOf(std::nan(""))}},
            "\"Shifts\", column \"Begins\", row 1");
        row("too late", 4, {{Begins, bytesOf(1e6 + 1)}}, "1900-01-00");
        row("too early", 4, {{Begins, bytesOf(-1.25)}}, "1900-01-00");
        // mdb-schema and mdb-json print this name differently.
        row("names for a terminal", 4, {{in4(9, 170), wide("\x1b[31\u202e")}},
            "\"Shifts\", column \"\\x1B[31\\u202E\", row 1: unexpected value \"Früh\"");
    }
    void refusals()
    {
        QFETCH(int, version);
        QFETCH(Patches, patches);
        QFETCH(QString, why);
        unpack(version, patches);
        const Run run = import();
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QCOMPARE(files(), "old.mdb");
    }

    /// A script replaces one of mdbtools' programs.
    void faultyPrograms_data()
    {
        Table<QByteArray, QByteArray, QString> row("program", "script", "why");
        row("missing", "", "", "install the package mdbtools.");
        row("complains", "mdb-json", "/usr/bin/mdb-json \"$@\"; printf '\\033[31m' >&2",
            "mdb-json reports \"\\x1B[31m\"");
        row("complains without end", "mdb-json", "exec yes >&2", "mdb-json reports \"y\"");
        row("fails", "mdb-schema", "/usr/bin/mdb-schema \"$@\"; exit 3", "mdb-schema failed");
        row("crashes", "mdb-json", "/usr/bin/mdb-json \"$@\"; kill -SEGV $$", "mdb-json crashed");
        row("prints without end", "mdb-count", "exec yes \"$(printf '%09999d')\"",
            "more than the file can contain");
        row("line without end", "mdb-json", "exec cat /dev/zero", "more than the file can contain");
        row("no JSON", "mdb-json", "echo '{\"ID\": nan}'", "row 1: invalid JSON");
        row("long text, perhaps cut", "mdb-json",
            "/usr/bin/mdb-json \"$@\" | sed \"s/long memo Ł/$(printf '%0250d')/g\"",
            "\"Notes\", row 11");
    }
    void faultyPrograms()
    {
        QFETCH(QByteArray, program);
        QFETCH(QByteArray, script);
        QFETCH(QString, why);
        unpack(4);
        replaceProgram(program, script);
        const Run run = import();
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QCOMPARE(files(), "bin old.mdb");
    }

    void silentProgram()
    {
        unpack(4);
        const OldDatabase old(path("old.mdb"), std::chrono::milliseconds(100));
        replaceProgram("mdb-json", "exec sleep 1000");
        QString why;
        try {
            old.catalogue();
        } catch (const NotDone &notDone) {
            why = notDone.why;
        }
        QVERIFY2(why.startsWith("mdb-json timed out"), qPrintable(why));
    }

    /// An interrupted import makes nothing, and ends the programs it runs.
    void interruption()
    {
        unpack(4);
        TemporaryHome::putInPlace("pipe", path("pipe"));
        replaceProgram("mdb-json", "exec sleep 1000 3>" + path("pipe").toUtf8());
        QProcess process;
        process.start(SITETOOL, {"import", path("old.mdb"), path("new.mdb")});
        QVERIFY(process.waitForStarted());
        QFile pipe(path("pipe"));
        QVERIFY(pipe.open(QIODevice::ReadOnly)); // returns when the program runs
        QCOMPARE(::kill(static_cast<pid_t>(process.processId()), SIGINT), 0);
        QVERIFY(process.waitForFinished());
        QCOMPARE(pipe.readAll(), ""); // returns when the program has ended
        QCOMPARE(files(), "bin old.mdb pipe");
    }

    /// `new` makes a complete database and never replaces an existing name.
    void makes()
    {
        const Run made = Run::start(SITETOOL, {"new", path("new.mdb")});
        QCOMPARE(made.status, 0);
        QVERIFY(query(".schema").contains("1 is clock in, 0 is clock out"));
        QCOMPARE(query("INSERT INTO Employee VALUES ('00123', 'Ann'); SELECT * FROM Employee"),
                 "'00123','Ann'");
        QCOMPARE(query("INSERT OR IGNORE INTO Employee VALUES ('00124', NULL); "
                       "SELECT count(*) FROM Employee"),
                 "1");
        const Run again = Run::start(SITETOOL, {"new", path("new.mdb")});
        QCOMPARE(again.status, 1);
        QVERIFY(again.errors.contains("already exists"));
        QCOMPARE(query("SELECT Name FROM Employee"), "'Ann'");
        QVERIFY(QFile::link("nowhere", path("dangling")));
        QCOMPARE(Run::start(SITETOOL, {"new", path("dangling")}).status, 1);
        QCOMPARE(files(), "dangling new.mdb");
    }

    /// No temporary name appears, which other users could replace by a link.
    void namesNothingButTheTarget()
    {
        const int watch = ::inotify_init1(IN_CLOEXEC);
        QVERIFY(::inotify_add_watch(watch, qPrintable(m_folder->path()), IN_CREATE | IN_MOVED_TO) >
                0);
        QCOMPARE(Run::start(SITETOOL, {"new", path("new.mdb")}).status, 0);
        alignas(inotify_event) std::array<char, 4096> events{};
        const ssize_t size = ::read(watch, events.data(), events.size());
        const auto *first = reinterpret_cast<const inotify_event *>(events.data());
        QCOMPARE(first->name, "new.mdb");
        QCOMPARE(size, ssize_t(sizeof(inotify_event) + first->len)); // the only event
        ::close(watch);
    }

    /// The database in the program's folder may be a link into a folder shared by a group.
    void programsFolder()
    {
        QVERIFY(QDir(m_folder->path()).mkpath("lib") && QDir(m_folder->path()).mkpath("data"));
        QVERIFY(QFile::copy(SITETOOL, path("lib/sitetool")));
        QVERIFY(QFile::link("../data/Orvanta.mdb", path("lib/Orvanta.mdb")));
        QCOMPARE(::chmod(qPrintable(path("data")), 02770), 0);
        QCOMPARE(Run::start(path("lib/sitetool"), {"new"}).status, 0);
        QVERIFY(QFileInfo(path("lib/Orvanta.mdb")).isSymLink());
        struct stat made = {};
        QCOMPARE(::lstat(qPrintable(path("data/Orvanta.mdb")), &made), 0);
        QCOMPARE(made.st_mode, mode_t{S_IFREG | 0660});
        QVERIFY(made.st_size > 0);
        QCOMPARE(Run::start(path("lib/sitetool"), {"new"}).status, 1);
        QVERIFY(QFile::remove(path("lib/Orvanta.mdb")));
        QCOMPARE(Run::start(path("lib/sitetool"), {"new"}).status, 0);
        QVERIFY(QFileInfo(path("lib/Orvanta.mdb")).size() > 0);
    }

    void commandLine_data()
    {
        Table<QStringList, int, QString> row("arguments", "status", "said");
        row("none", {}, 2, "Missing command; expected one of new, import, check, ");
        row("unknown", {"make"}, 2, "Unknown command \"make\"");
        row("no old file", {"import"}, 2, "import takes OLD.mdb");
        row("too many", {"new", "a", "b"}, 2, "new takes at most one FILE.");
        row("no such option", {"new", "--force"}, 2, "force");
        row("option of another command", {"present", "--from", "2026-03-23"}, 2,
            "present does not take --from");
        row("two databases", {"check", "a", "--file", "b"}, 2, "The database is given twice.");
        row("help", {"--help"}, 0, "import OLD.mdb [FILE]");
        row("version", {"--version"}, 0, "sitetool ");
        row("no such old file", {"import", "nowhere", "new"}, 1,
            "Cannot import \"nowhere\": No such file");
        row("a folder", {"import", "/", "new"}, 1, "\"/\": not a regular file");
        row("no such folder", {"new", "nowhere/new"}, 1, "No such file or directory");
    }
    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        const Run run = Run::start(SITETOOL, arguments);
        QTEST(run.status, "status");
        QVERIFY2((run.status == 0 ? run.output : run.errors).contains(said),
                 qPrintable(run.errors));
    }

    /// What the Tab key offers in the shell.
    void completion_data()
    {
        Table<QString, QString> row("words", "offers");
        row("b", "backup");
        row("backup ", "");
        row("no[ ", "");
        row("backup / --keep", "--keep --keep-punches");
        row("--v", "--version");
    }
    void completion()
    {
        QFETCH(QString, words);
        const QString script = ". '" SAMPLES "/../../../packaging/tavrel-sitetool.bash'\n"
                               "IFS=' ' read -ra COMP_WORDS <<<\"sitetool $1.\"\n"
                               "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                               "COMP_WORDS[COMP_CWORD]=${COMP_WORDS[COMP_CWORD]%.}\n"
                               "_tavrel_sitetool '" SITETOOL "'; echo \"${COMPREPLY[*]}\"";
        const Run run = Run::start("bash", {"-c", script, "-", words});
        QCOMPARE(run.errors, "");
        QTEST(run.output.trimmed(), "offers");
    }

private:
    QString path(const char *name) const { return m_folder->filePath(name); }

    QString files() const
    {
        return QDir(m_folder->path())
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
            .join(u' ');
    }

    QString query(const QByteArray &sql) const
    {
        const Run run = Run::start("sqlite3", {"-quote", path("new.mdb"), sql});
        return (run.output + run.errors).trimmed();
    }

    void unpack(int version, const Patches &patches = {}) const
    {
        QProcess gzip;
        gzip.start("gzip", {"-dc", QStringLiteral(SAMPLES "/Orvanta-jet%1.mdb.gz").arg(version)});
        gzip.waitForFinished();
        QByteArray bytes = gzip.readAllStandardOutput();
        for (const Patch &patch : patches) {
            if (patch.bytes.isNull())
                bytes.truncate(patch.at);
            else
                bytes.replace(patch.at, patch.bytes.size(), patch.bytes);
        }
        TemporaryHome::write(path("old.mdb"), bytes);
    }

    Run import() const
    {
        return Run::start(SITETOOL, {"import", path("old.mdb"), path("new.mdb")});
    }

    /// Replaces a program by a script; with an empty name, hides all programs.
    void replaceProgram(const QByteArray &program, const QByteArray &script) const
    {
        if (!QDir(m_folder->path()).mkpath("bin"))
            qFatal("no folder for programs");
        QFile file(path("bin/") + QFile::decodeName(program));
        if (!program.isEmpty())
            TemporaryHome::write(file.fileName(), "#!/bin/sh\n" + script);
        file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        qputenv("PATH", path("bin").toUtf8() + (program.isEmpty() ? "" : ':' + m_path));
    }

    const QByteArray m_path = qgetenv("PATH");
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TestSitetool)
#include "tst_sitetool.moc"
