#include "tests/support/Table.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>

/// Bytes written over those of the old file at `at`; without bytes, the file is cut there.
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
static constexpr qsizetype Money = in4(50, 3743);            // the Rate of 00004
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

/// The second Jet 3 row of RawData with a text of that size. Where the row is beyond 256 bytes, the
/// text's end is.
static Patches rowOfText(int size)
{
    constexpr int RowEnd = 0x7ea;
    const QByteArray head = QByteArray::fromHex("04050006000000000000000000d03f");
    const auto textEnd = static_cast<char>(head.size() + size);
    const QByteArray tail = QByteArray(1, textEnd) + QByteArray::fromHex("0f") +
                            QByteArray(size > 237 ? 1 : 0, 1) + QByteArray::fromHex("010f");
    const QByteArray row = head + QByteArray(size, 'x') + tail;
    const auto begin = static_cast<quint16>(RowEnd - row.size());
    return {{in3(25, 12), bytesOf(begin)}, {in3(25, begin), row}};
}

class TestSitetool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void values_data()
    {
        const QByteArray begins = "SELECT Begins FROM Shifts LIMIT 1";
        const QByteArray rate = "SELECT Rate FROM Employee WHERE PersonalID = '00004'";
        const double halfSecond = 0.5 / 86400;
        Table<int, Patches, QByteArray, QString> row("version", "patches", "sql", "result");
        row("Jet 4", 4, {}, "SELECT Name, Rate, Active, Department, HiredOn FROM Employee LIMIT 6",
            "'Åsa Öberg','13.5000',1,'Lager','1969-07-20 00:00:00'\n"
            "'Nuñez',NULL,0,'Büro','1970-12-02 00:00:00'\n"
            "'Łukasz','0.0000',1,'R&D','1972-04-15 00:00:00'\n"
            "'Иван Петров','-1.2500',1,NULL,'1973-08-28 00:00:00'\n"
            "'王小明','12345678.9012',0,'','1975-01-10 00:00:00'\n"
            "'Sean O''Neill','0.0001',1,'Über/unter',NULL");
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
        row("at a day's end", 4, {{Begins, bytesOf(36524 + 1 - halfSecond * 0.9)}}, begins,
            "'1999-12-31 00:00:00'");
        row("counts forward", 4, {{Begins, bytesOf(-1.25)}}, begins, "'1899-12-29 06:00:00'");
        row("day's end forward", 4, {{Begins, bytesOf(-1.999999)}}, begins,
            "'1899-12-30 00:00:00'");
        row("first", 4, {{Begins, bytesOf(-657434.0)}}, begins, "'0100-01-01 00:00:00'");
        row("last", 4, {{Begins, bytesOf(2958465.99999)}}, begins, "'9999-12-31 23:59:59'");
        row("most money", 4, {{Money, bytesOf(INT64_MAX)}}, rate, "'922337203685477.5807'");
        row("least money", 4, {{Money, bytesOf(INT64_MIN)}}, rate, "'-922337203685477.5808'");
        row("bytes", 4, {{Department, "\x09"}}, "SELECT Department FROM Employee LIMIT 1",
            "X'fffe4c61676572'");
        row("numbers", 4, {{in4(9, 63 + 25), "\x07"}}, begins, "0.25");
        row("names", 4, {{in4(9, 170), wide("L\"]\u00b4 ")}, {in4(11, 3140), wide("a \"b'\u5348")}},
            "SELECT \"L\"\"]´ \" FROM \"a \"\"b'午\" LIMIT 1", "'Früh'");
        row("another case", 3, {{in3(12, 1487), "RAWDATADETAILS"}},
            "SELECT count(*) FROM RawDataDetails", "1200");
        // The shifts in the employees' place, their number in that of the badge.
        row("numbers as badges", 4,
            {{in4(11, 0xc71), "\x09"},
             {in4(11, 0xc26), "\x08"},
             {in4(9, 138), wide("\x14PersonalID\x08Time\x08Name")}},
            "SELECT Name, typeof(PersonalID) FROM Employee WHERE PersonalID = '2'",
            "'Spät','text'");
        row("named as the engine's", 4, {{in4(11, 3140), wide("MSysAB")}},
            "SELECT count(*) FROM MSysAB", "3");
        for (const int size : {237, 300}) // in a row of 256 bytes, and beyond
            row("long Jet 3 row", 3, rowOfText(size),
                "SELECT ID, RecordCount, DateTime, length(DownloadResult) FROM RawData LIMIT 1, 1",
                "5,6,'1899-12-30 06:00:00'," + QString::number(size));
    }
    void values()
    {
        QFETCH(QByteArray, sql);
        const Run run = import();
        QCOMPARE(run.errors, "");
        QCOMPARE(run.status, 0);
        QTEST(query(sql), "result");
    }

    /// Each leaves nothing but the old file, and says why.
    void refusals_data()
    {
        Table<int, Patches, QString> row("version", "patches", "why");
        row("empty", 4, {{0, {}}}, "not an Access database");
        row("only a head", 4, {{in4(1, 0), {}}}, "definition cannot be read");
        row("cut within the last page", 4, {{End4 - 1, {}}}, "whole page");
        row("cut after a page", 4, {{in4(40, 0), {}}}, "damaged");
        row("cut before the shifts", 4, {{in4(52, 0), {}}}, "Shifts");
        row("no Jet file", 4, {{4, "S"}, {8, "x"}}, "not an Access database");
        row("encrypted", 4, {{62, "x"}}, "encrypted");
        row("code page", 3, {{60, "x"}}, "code page");
        row("one row fewer", 4, {{in4(7, 16), bytesOf(1199)}}, "1199 rows, and 1200");
        row("one row more", 3, {{in3(7, 12), bytesOf(1201)}}, "1201 rows, and 1200");
        row("deleted row", 4, {{in4(52, 15), "\x4f"}}, "3 rows, and 2");
        row("lost object", 4, {{in4(11, 37), "\x4c"}}, "12 objects and names 11");
        row("table made a form", 4, {{in4(11, 0xc24 + 10), "\x05"}}, "fit the object Shifts");
        row("page of others", 4, {{in4(26, 4), "\x08"}}, "page 26 from map");
        row("row's count", 4, {{in4(52, 0xfe7), "\x02"}}, "does not fit together");
        row("row's end", 3, {{in3(27, 0x7e6 + 22), "\x15"}}, "more than its columns");
        row("column's place", 4, {{in4(9, 63 + 25 + 21), "\x01"}}, "does not fit together");
        row("memo's chain", 4, {{in4(40, 16), "\x01"}}, "a memo or object");
        row("crash of the library", 3, {{in3(9, 35), "\x20"}}, "is not imported");
        row("odd text", 4, {{in4(50, 4002), "x"}}, "Employee, column Name, row 2");
        row("text as yes and no", 4, {{Department, "\x01"}}, "does not fit together");
        row("unknown type", 4, {{Department, "\x10"}}, "Employee, column Department");
        row("no such table", 3, {{in3(12, 1487), "x"}}, "no table RawDataDetails");
        row("no such column", 4, {{in4(8, 262), "M"}}, "Employee has no column Name");
        row("column of another kind", 4, {{in4(8, 63 + 25), "\x09"}}, "Name");
        row("no time", 4, {{Begins, bytesOf(std::nan(""))}}, "Shifts, column Begins, row 1");
        row("too late", 4, {{Begins, bytesOf(2958465.999999)}}, "Shifts, column Begins, row 1");
        row("too early", 4, {{Begins, bytesOf(-657435.0)}}, "Shifts, column Begins, row 1");
    }
    void refusals()
    {
        QFETCH(QString, why);
        const Run run = import();
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QCOMPARE(files(), "old.mdb");
    }

    /// `new` and `import` make the file at its place, with all or nothing.
    void makes()
    {
        const Run made = start(SITETOOL, {"new", path("new.mdb")});
        QCOMPARE(made.status, 0);
        QVERIFY(query(".schema").contains("1 is clock in, 0 is clock out"));
        QCOMPARE(query("INSERT INTO Employee VALUES ('00123', 'Ann'); SELECT * FROM Employee"),
                 "'00123','Ann'");
        QCOMPARE(query("INSERT OR IGNORE INTO Employee VALUES ('00124', NULL); "
                       "SELECT count(*) FROM Employee"),
                 "1");
        const Run again = start(SITETOOL, {"new", path("new.mdb")});
        QCOMPARE(again.status, 1);
        QVERIFY(again.errors.contains("exists already"));
        QCOMPARE(query("SELECT Name FROM Employee"), "'Ann'");
        QVERIFY(QFile::link("nowhere", path("dangling")));
        QCOMPARE(start(SITETOOL, {"new", path("dangling")}).status, 1);
        QCOMPARE(files(), "dangling new.mdb");
    }

    /// Others who may write the folder must find nothing to put a link in the place of.
    void namesNothingButTheTarget()
    {
        const int watch = ::inotify_init1(IN_CLOEXEC);
        QVERIFY(::inotify_add_watch(watch, qPrintable(m_folder->path()), IN_CREATE | IN_MOVED_TO) >
                0);
        QCOMPARE(start(SITETOOL, {"new", path("new.mdb")}).status, 0);
        alignas(inotify_event) std::array<char, 4096> events{};
        const ssize_t size = ::read(watch, events.data(), events.size());
        const auto *first = reinterpret_cast<const inotify_event *>(events.data());
        QCOMPARE(first->name, "new.mdb");
        QCOMPARE(size, ssize_t(sizeof(inotify_event) + first->len)); // it is the only one
        ::close(watch);
    }

    /// In the program's folder the database may be a link to where the data lie, in a folder that
    /// a group shares.
    void programsFolder()
    {
        QVERIFY(QDir(m_folder->path()).mkpath("lib") && QDir(m_folder->path()).mkpath("data"));
        QVERIFY(QFile::copy(SITETOOL, path("lib/sitetool")));
        QVERIFY(QFile::link("../data/Orvanta.mdb", path("lib/Orvanta.mdb")));
        QCOMPARE(::chmod(qPrintable(path("data")), 02770), 0);
        QCOMPARE(start(path("lib/sitetool"), {"new"}).status, 0);
        QVERIFY(QFileInfo(path("lib/Orvanta.mdb")).isSymLink());
        struct stat made = {};
        QCOMPARE(::lstat(qPrintable(path("data/Orvanta.mdb")), &made), 0);
        QCOMPARE(made.st_mode, mode_t{S_IFREG | 0660});
        QVERIFY(made.st_size > 0);
        QCOMPARE(start(path("lib/sitetool"), {"new"}).status, 1);
        QVERIFY(QFile::remove(path("lib/Orvanta.mdb")));
        QCOMPARE(start(path("lib/sitetool"), {"new"}).status, 0);
        QVERIFY(QFileInfo(path("lib/Orvanta.mdb")).size() > 0);
    }

    void commandLine_data()
    {
        Table<QStringList, int, QString> row("arguments", "status", "said");
        row("none", {}, 2, "A command is missing");
        row("unknown", {"make"}, 2, "no command make");
        row("no old file", {"import"}, 2, "import needs");
        row("too many", {"new", "a", "b"}, 2, "b is one argument too many");
        row("no such option", {"new", "--force"}, 2, "force");
        row("help", {"--help"}, 0, "import OLD.mdb [FILE]");
        row("version", {"--version"}, 0, "sitetool ");
        row("no such old file", {"import", "nowhere", "new"}, 1, "cannot be read");
        row("a folder", {"import", "/", "new"}, 1, "It is no file");
        row("no such folder", {"new", "nowhere/new"}, 1, "No such file or directory");
    }
    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        const Run run = start(SITETOOL, arguments);
        QTEST(run.status, "status");
        QVERIFY2((run.status == 0 ? run.output : run.errors).contains(said),
                 qPrintable(run.errors));
    }

private:
    struct Run {
        int status;
        QString output;
        QString errors;
    };

    QString path(const char *name) const { return m_folder->filePath(name); }

    QString files() const
    {
        return QDir(m_folder->path())
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
            .join(u' ');
    }

    static Run start(const QString &program, const QStringList &arguments)
    {
        QProcess process;
        process.start(program, arguments);
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
            qFatal("%s did not end by itself", qPrintable(program));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QString query(const QByteArray &sql) const
    {
        const Run run = start("sqlite3", {"-quote", path("new.mdb"), sql});
        return (run.output + run.errors).trimmed();
    }

    /// Imports the sample that the test's data name.
    Run import() const
    {
        QFETCH(int, version);
        QFETCH(Patches, patches);
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
        QFile old(path("old.mdb"));
        if (!old.open(QIODevice::WriteOnly) || old.write(bytes) != bytes.size())
            qFatal("no old file");
        old.close();
        return start(SITETOOL, {"import", path("old.mdb"), path("new.mdb")});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TestSitetool)
#include "tst_sitetool.moc"
