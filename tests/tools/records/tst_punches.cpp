#include "tests/support/Run.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"

#include <QRegularExpression>

using namespace Tavrel;
using namespace Qt::StringLiterals;

static constexpr char Week13[] = "--week 2026-W13"; // 23 to 29 March
static constexpr char Week10[] = "--week 2026-W10"; // ends with 8 March, when the clocks go forward
static constexpr char Week44[] = "--week 2026-W44"; // ends with 1 November, when they go back

/// The owner's commands on punches. Each row has its own database, without the constraints that
/// keep odd values out.
class TestPunches : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The results were worked out by hand. Each row of the output gives the hours, the longest
    /// pair, what is unpaired, and the remark.
    void hours_data()
    {
        Table<QString, QByteArray, QString> row("period", "punches", "hours");
        row("day", Week13, "in 03-23 08:00, out 03-23 16:45", "8.75 8.75 0");
        row("two pairs", Week13, "in 03-23 08:00, out 03-23 12:00, in 03-23 12:30, out 03-23 16:45",
            "8.25 4.25 0");
        row("night", Week13, "in 03-23 22:00, out 03-24 06:00", "8.00 8.00 0");
        row("nights at both bounds", Week13,
            "in 03-22 22:00, out 03-23 06:00, in 03-29 21:30, out 03-30 06:00", "8.50 8.50 0");
        row("night of the week before", Week13, "in 03-22 22:00, out 03-23 06:00", "0.00 0.00 0");
        row("first second", Week13, "in 03-23 00:00:00, out 03-23 01:00", "1.00 1.00 0");
        row("last second", Week13, "in 03-29 23:59:59, out 03-30 00:59:59", "1.00 1.00 0");
        row("second before", Week13, "in 03-22 23:59:59, out 03-23 00:00:00", "0.00 0.00 0");
        row("second after", Week13, "in 03-30 00:00:00, out 03-30 01:00", "");
        row("in twice", Week13, "in 03-23 08:00:00, in 03-23 08:00:20, out 03-23 12:00",
            "3.99 3.99 1");
        row("out twice", Week13, "in 03-23 08:00, out 03-23 12:00, out 03-23 12:00:20",
            "4.00 4.00 1");
        row("no out", Week13, "in 03-23 08:00, in 03-24 08:00, out 03-24 15:00", "7.00 7.00 1");
        row("no in", Week13, "out 03-23 16:00, in 03-24 08:00, out 03-24 15:00", "7.00 7.00 1");
        row("no out, then no in", Week13, "in 03-23 08:00, out 03-24 16:00", "32.00 32.00 0");
        row("only in", Week13, "in 03-23 08:00", "0.00 0.00 1");
        row("only out", Week13, "out 03-23 08:00", "0.00 0.00 1");
        row("no out in the week before", Week13, "in 03-21 08:00, in 03-23 08:00, out 03-23 09:00",
            "1.00 1.00 0");
        row("out months later", Week13, "in 03-23 08:00, out 06-01 08:00", "1680.00 1680.00 0");
        row("nearest of the punches after the week", Week13,
            "in 03-29 22:00, out 03-31 06:00, out 03-30 14:00, out 03-30 06:00", "8.00 8.00 0");
        row("in weeks before", Week13, "in 02-01 08:00, out 03-23 08:00", "0.00 0.00 0");
        row("at once", Week13, "in 03-23 08:00, out 03-23 08:00", "0.00 0.00 0");
        row("at once in the other order", Week13,
            "out 03-23 08:00, in 03-23 08:00, out 03-23 12:00", "4.00 4.00 1");
        row("rows in the other order", Week13, "out 03-23 16:00, in 03-23 08:00", "8.00 8.00 0");
        row("pair added later", Week13,
            "in 03-23 08:00, out 03-23 17:00, out 03-23 12:00, in 03-23 13:30", "7.50 4.00 0");
        row("less than half a hundredth", Week13, "in 03-23 08:00:00, out 03-23 08:00:17",
            "0.00 0.00 0");
        row("the sum is rounded, not the parts", Week13,
            "in 03-23 08:00, out 03-23 08:00:18, in 03-24 08:00, out 03-24 08:00:18, "
            "in 03-25 08:00, out 03-25 08:00:18",
            "0.02 0.01 0");
        row("without seconds, or with a T", Week13, "in '2026-03-23T08:00', out '2026-03-23 16:45'",
            "8.75 8.75 0");
        row("another type between", Week13, "in 03-23 08:00, 7 03-23 10:00, out 03-23 12:00",
            "0.00 0.00 3 unknown type");
        row("another type after the week", Week13, "in 03-29 22:00, 7 03-30 01:00, out 03-30 06:00",
            "0.00 0.00 1");
        row("no type", Week13, "NULL 03-23 08:00, out 03-23 12:00", "0.00 0.00 2 unknown type");
        row("no time", Week13, "in 03-23 08:00, in NULL, out 03-23 12:00",
            "4.00 4.00 1 unreadable time");
        row("no time, and a night into the next week", Week13,
            "in 03-29 22:00, in NULL, out 03-30 06:00", "8.00 8.00 1 unreadable time");
        row("number as a time", Week13, "in 20260323", "0.00 0.00 1 unreadable time");
        row("text as a time", Week13, "in '23.03.2026 08:00'", "0.00 0.00 1 unreadable time");
        row("bytes as a time", Week13, "in x'00ff', out 03-23 12:00",
            "0.00 0.00 2 unreadable time");
        row("no such time", Week13, "in 03-23 08:00, out 03-23 24:00, out 03-23 12:00",
            "4.00 4.00 1 unreadable time");
        row("no such day", "--from 2026-02-01 --to 2026-03-31", "in 02-30 08:00, out 03-02 16:00",
            "0.00 0.00 2 unreadable time");
        row("leading zeros", Week13, "00123:in 03-23 08:00, 123:out 03-23 12:00",
            "0.00 0.00 1; 0.00 0.00 1");
        row("two badges", Week13,
            "in 03-23 08:00, 1002:in 03-23 09:00, out 03-23 10:00, 1002:out 03-23 12:00",
            "2.00 2.00 0; 3.00 3.00 0");
        row("not UTF-8", Week13, "\xE4:in 03-23 08:00, \xFC:out 03-23 12:00",
            "0.00 0.00 1; 0.00 0.00 1");
        row("empty badge", Week13, ":in 03-23 08:00, :out 03-23 12:00",
            "0.00 0.00 2 several people");
        row("month", "--month 2026-04",
            "in 03-31 22:00, out 04-01 06:00, in 04-30 22:00, out 05-01 05:00, in 05-01 22:00, "
            "out 05-02 06:00",
            "7.00 7.00 0");

        row("night forward", Week10, "in 03-07 22:00, out 03-08 06:00", "7.00 7.00 0");
        row("over the skipped hour", Week10, "in 03-08 01:30, out 03-08 03:30", "1.00 1.00 0");
        row("out in the skipped hour", Week10, "in 03-08 01:45, out 03-08 02:30", "0.75 0.75 0");
        row("night back", Week44, "in 10-31 22:00, out 11-01 06:00", "9.00 9.00 0");
        row("within the repeated hour", Week44, "in 11-01 01:10, out 11-01 01:50",
            "0.67 0.67 0 repeated hour");
        row("crossing into its second pass", Week44, "in 11-01 01:50, out 11-01 01:10",
            "0.33 0.33 0 repeated hour");
        row("from before it", Week44, "in 11-01 00:30, out 11-01 01:30",
            "1.00 1.00 0 repeated hour");
        row("until after it", Week44, "in 11-01 01:30, out 11-01 02:30",
            "2.00 2.00 0 repeated hour");
        row("a pair in each pass", Week44,
            "in 11-01 01:10, out 11-01 01:50, in 11-01 01:05, out 11-01 01:55",
            "1.50 0.83 0 repeated hour");
        row("all later ones in the second pass", Week44,
            "in 11-01 01:50, out 11-01 01:10, in 11-01 01:30, out 11-01 01:55",
            "0.75 0.42 0 repeated hour");
        row("out in the first pass, in in the second", Week44,
            "in 10-31 22:00, out 11-01 01:30, in 11-01 01:15, out 11-01 06:00",
            "8.25 4.75 0 repeated hour");
        row("at once in the repeated hour", Week44, "in 11-01 01:30, out 11-01 01:30",
            "0.00 0.00 0 repeated hour");
        row("into the repeated hour of the next day", "--from 2026-10-31 --to 2026-10-31",
            "in 10-31 22:00, out 11-01 01:50, in 11-01 01:10, out 11-01 06:00",
            "3.83 3.83 0 repeated hour");
        row("out of the repeated hour of the day before", "--from 2026-11-02 --to 2026-11-02",
            "out 11-01 01:50, in 11-01 01:10, out 11-02 06:00", "0.00 0.00 0");
    }
    void hours()
    {
        QFETCH(QString, period);
        QFETCH(QByteArray, punches);
        store(punches);
        const Run run = start(QStringList{"hours", "--csv"} + period.split(u' '));
        QCOMPARE(run.errors, "");
        QStringList results;
        for (const QString &line : run.output.split("\r\n", Qt::SkipEmptyParts).mid(1))
            results += line.section(u',', 2).replace(u',', u' ').trimmed();
        QTEST(results.join("; "), "hours");
    }

    /// Rows 1 to 3 are in batch 9, the last row in a batch whose count is not a number.
    void changes_data()
    {
        const char all[] = "SELECT _rowid_, * FROM RawDataDetails";
        const char counts[] = "SELECT ID, RecordCount, DownloadResult FROM RawData";
        const char corrections[] = "SELECT Change, Was, Became, Reason FROM Correction";
        const QString kept = "1|9|1001|1|2026-03-23 08:00:00|0|0\n2|9||0|2026-03-23 12:00:00|0|0\n"
                             "3|9|\x1B|7|soon|0|0\n4|4|00123|1|2026-03-23 09:00:00|0|0";
        Table<QStringList, QString, QByteArray, QString> row("arguments", "said", "sql", "stored");
        const QStringList add{"punches", "add", " 1001 ", "OUT", "2026-03-23 08:00"};
        const QString added =
            "row 5: badge \"1001\" (Anna Example), Clock Out, 2026-03-23 08:00:00";
        row("add", add, "Added " + added + ".\n", all,
            kept + "\n5|10|1001|0|2026-03-23 08:00:00|0|0");
        row("add to a new batch", add, "", counts, "9|3|MSR\n4|x|old\n9|70|MSR\n10|1|sitetool");
        row("note what was added", add + QStringList{"--reason", "forgot"}, "", corrections,
            "punch added||" + added + "|forgot");
        const QString fifty(50, u'x');
        row("add a badge of no employee", {"punches", "add", fifty, "in", "2026-03-23T16:45:30"},
            "Badge \"" + fifty + "\" belongs to no employee.\n", all,
            kept + "\n5|10|" + fifty + "|1|2026-03-23 16:45:30|0|0");
        const QString to1001 = "row 1: badge \"1001\" (Anna Example), Clock ";
        row("change the type", {"punches", "change", "1", "1001", "out", "--reason", "slip"},
            "Before: " + to1001 + "In, 2026-03-23 08:00:00.\nAfter:  " + to1001 +
                "Out, 2026-03-23 08:00:00.\n",
            corrections,
            "punch changed|" + to1001 + "In, 2026-03-23 08:00:00|" + to1001 +
                "Out, 2026-03-23 08:00:00|slip");
        row("change the time", {"punches", "change", "4", "00123", "2026-03-23 09:15"}, "", all,
            QString(kept).replace("09:00", "09:15"));
        row("change both", {"punches", "change", "3", "\\x1B", "in", "2026-03-23 07:00"},
            "Before: row 3: badge \"\\x1B\" (Unknown), 7, soon.", all,
            QString(kept).replace("7|soon", "1|2026-03-23 07:00:00"));
        row("change no count", {"punches", "change", "1", "1001", "out"}, "", counts,
            "9|3|MSR\n4|x|old\n9|70|MSR");
        row("remove", {"punches", "remove", "2", ""},
            "Removed row 2: badge \"\" (Unknown), Clock Out, 2026-03-23 12:00:00.\n", all,
            QString(kept).remove("2|9||0|2026-03-23 12:00:00|0|0\n"));
        row("count out of the first of the batches with that number",
            {"punches", "remove", "2", ""}, "", counts, "9|2|MSR\n4|x|old\n9|70|MSR");
        row("keep a count that is not a number", {"punches", "remove", "4", "00123"}, "", counts,
            "9|3|MSR\n4|x|old\n9|70|MSR");
        row("mend the counts", {"check", "--mend-counts"},
            "Set the RecordCount of batch 4 from \"x\" to 1.\n", counts,
            "9|3|MSR\n4|1|old\n9|70|MSR");
        row("note what was mended", {"check", "--mend-counts", "--reason", "power cut"}, "",
            corrections, "count mended|batch 4: RecordCount x|batch 4: RecordCount 1|power cut");
    }
    void changes()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        QFETCH(QByteArray, sql);
        storeAll();
        const Run run = start(arguments);
        if (arguments[0] == "punches")
            QCOMPARE(run.errors, "");
        QVERIFY2(run.output.contains(said), qPrintable(run.output));
        QTEST(m_database->run(sql), "stored");
    }

    /// A second punch is added to the same batch, and counted only where the count is a number.
    void ownBatch_data()
    {
        Table<QByteArray, QString> row("count", "counted");
        row("1", "10|2|sitetool");
        row("NULL", "10|NULL|sitetool");
        row("'x'", "10|x|sitetool");
    }
    void ownBatch()
    {
        QFETCH(QByteArray, count);
        storeAll();
        QCOMPARE(start({"punches", "add", "1001", "out", "2026-03-23 16:45"}).status, 0);
        m_database->run("UPDATE RawData SET RecordCount = " + count + " WHERE ID = 10");
        QCOMPARE(start({"punches", "add", "1002", "out", "2026-03-23 16:45"}).status, 0);
        QTEST(m_database->run("SELECT ID, RecordCount, DownloadResult FROM RawData WHERE ID > 9"),
              "counted");
    }

    /// The file stays byte for byte.
    void refusals_data()
    {
        Table<QStringList, int, QString> row("arguments", "status", "why");
        const auto on = [](const QDateTime &time) { return time.toString("yyyy-MM-dd HH:mm"); };
        const QString future = on(QDateTime::currentDateTime().addDays(1));
        const QStringList add{"punches", "add"};
        const QStringList change{"punches", "change", "1", "1001"};
        row("blank badge", add + QStringList{"  ", "in", "2026-03-23 08:00"}, 1, "blank");
        row("long badge", add + QStringList{QString(51, '1'), "in", "2026-03-23 08:00"}, 1,
            "longer than 50 characters");
        row("type", add + QStringList{"1001", "inn", "08:00"}, 2, "Invalid type \"inn\"");
        row("time", add + QStringList{"1001", "in", "8"}, 2, "Invalid time \"8\"");
        row("time in two words", add + QStringList{"1001", "in", "2026-03-23", "08:00"}, 2,
            "such as \"2026-03-23 16:45\"");
        row("skipped hour", add + QStringList{"1001", "in", "2026-03-08 02:30"}, 2,
            "the clocks skip it");
        row("future", add + QStringList{"1001", "in", future}, 1, "in the future");
        row("stored already", add + QStringList{"1001", "in", "2026-03-23 08:00"}, 1,
            "stored already: row 1: badge \"1001\"");
        row("neither type nor time", {"punches", "change", "1", "1001"}, 2, "in or out or a TIME");
        row("type and type", change + QStringList{"in", "out"}, 2, "Invalid time \"out\"");
        row("time before the type", change + QStringList{"08:00", "in"}, 2,
            "Invalid type \"08:00\"");
        row("other badge", {"punches", "change", "2", "1001", "in"}, 1,
            "Row 2 is of badge \"\", not \"1001\"");
        row("other badge in a removal", {"punches", "remove", "4", "123"}, 1,
            "Row 4 is of badge \"00123\", not \"123\"");
        row("no such row", {"punches", "remove", "5", "1001"}, 1, "row number 5");
        row("no row number", {"punches", "remove", "one", "1001"}, 2, "Invalid row \"one\"");
        row("today's time for an earlier punch", change + QStringList{"00:00"}, 1,
            "for example \"2026-03-23 00:00\"");
        row("change to the future", change + QStringList{future}, 1, "in the future");
        for (const char *week : {"13", "2026-W1", "2026W13", "2026-W54", "0000-W00", ""})
            row(week, {"hours", "--week", week}, 2, "Invalid --week");
        row("month", {"hours", "--month", "2026-13"}, 2, "Invalid --month");
        row("day", {"punches", "--from", "2026-02-30"}, 2, "Invalid day \"2026-02-30\"");
        row("order of days", {"hours", "--from", "2026-03-24", "--to", "2026-03-23"}, 2,
            "--from 2026-03-24 is after --to 2026-03-23");
        row("two periods", {"hours", "--week", "2026-W13", "--to", "2026-03-23"}, 2, "Only one of");
        row("skipped time", add + QStringList{"1001", "in", "2026-03-08 02:30"}, 2, "skip it");
        row("no change", change + QStringList{"in", "2026-03-23 08:00"}, 1, "Nothing to change");
        row("change to what is stored already",
            {"punches", "change", "4", "00123", "2026-03-23 09:30"}, 1, "stored already: row 6");
    }
    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, why);
        storeAll();
        store("1003:in 03-23 08:00, 00123:in 03-23 09:30");
        m_database->run("UPDATE RawDataDetails SET _rowid_ = 7 WHERE _rowid_ = 5");
        const QByteArray before = TemporaryHome::read(m_database->file());
        const Run run = start(arguments);
        QTEST(run.status, "status");
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QCOMPARE(TemporaryHome::read(m_database->file()), before);
    }

    /// A trigger in the file may ignore a change, which is then not reported as made.
    void ignoredChanges_data()
    {
        Table<QStringList, QByteArray> row("arguments", "event");
        const QByteArray logged = "INSERT ON Correction";
        row({"punches", "remove", "1", "1001"}, "DELETE ON RawDataDetails");
        row({"punches", "change", "1", "1001", "out"}, "UPDATE ON RawDataDetails");
        row({"punches", "add", "1001", "out", "2026-03-23 16:45"}, "INSERT ON RawDataDetails");
        row({"punches", "remove", "4", "00123"}, logged);
        row({"employees", "add", "1", "Ann"}, "INSERT ON Employee");
        row({"employees", "rename", "1001", "Ann"}, "UPDATE ON Employee");
        row({"employees", "remove", "1001"}, "DELETE ON Employee");
        row({"employees", "remove", "1002"}, logged);
    }
    void ignoredChanges()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, event);
        storeAll();
        m_database->run("CREATE TABLE Correction (DateTime, UserName, Change, Was, Became, Reason);"
                        "CREATE TRIGGER Own BEFORE " +
                        event + " BEGIN SELECT raise(IGNORE); END");
        const QByteArray before = TemporaryHome::read(m_database->file());
        const Run run = start(arguments);
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains("a trigger may prevent it"), qPrintable(run.errors));
        QCOMPARE(run.output, "");
        QCOMPARE(TemporaryHome::read(m_database->file()), before);
    }

    /// Output that is not complete is not taken for a complete one.
    void fullDisk()
    {
        storeAll();
        for (const char *format : {"", " --csv"})
            QCOMPARE(Run::start("sh", {"-c", SITETOOL " punches --from 2026-01-01 --file " +
                                                 m_database->file() + format + " >/dev/full"})
                         .status,
                     1);
    }

    void noNumberForABatch_data()
    {
        Table<QByteArray> row("number");
        row("32767");
        row("9223372036854775807");
        row("'x'");
    }
    void noNumberForABatch()
    {
        QFETCH(QByteArray, number);
        m_database->run("INSERT INTO RawData VALUES (" + number + ", 0, 1, '')");
        const Run run = start({"punches", "add", "1001", "out", "2026-03-23 16:45"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains("none can follow"), qPrintable(run.errors));
        QCOMPARE(m_database->run("SELECT * FROM RawDataDetails"), "");
    }

    void lists_data()
    {
        const auto before = [](int hours) {
            const QDateTime time = QDateTime::currentDateTime().addSecs(-qint64{3600} * hours);
            return time.toString("yyyy-MM-dd HH:mm:ss").toLatin1();
        };
        const QByteArray recent = before(14);
        const QByteArray forgotten = before(18);
        Table<QStringList, QByteArray, QString> row("arguments", "punches", "lines");
        const QStringList days{"punches", "--from", "2026-03-23", "--to", "2026-03-24"};
        row("order, and what is unpaired", days,
            "1002:in 03-24 08:00, in 03-23 09:00, in 03-23 08:00, out 03-24 12:00, in 03-25 08:00",
            "3,1001,Anna Example,Clock In,2026-03-23 08:00:00,unpaired\n"
            "2,1001,Anna Example,Clock In,2026-03-23 09:00:00,\n"
            "4,1001,Anna Example,Clock Out,2026-03-24 12:00:00,\n"
            "1,1002,Bert Sample,Clock In,2026-03-24 08:00:00,unpaired\n");
        row("to the last day of all", {"punches", "--from", "2026-03-24", "--to", "9999-12-31"},
            "in 03-23 08:00, in '9999-12-31 23:59:59'",
            "2,1001,Anna Example,Clock In,9999-12-31 23:59:59,\"unpaired, in the future\"\n");
        row("from the first of all", {"punches", "--to", "2026-03-24"},
            "in 03-01 08:00, in 03-25 08:00",
            "1,1001,Anna Example,Clock In,2026-03-01 08:00:00,unpaired\n");
        row("one badge", days + QStringList{"--badge", "00123"},
            "00123:in 03-22 22:00, 00123:out 03-23 06:00, 123:out 03-23 07:00",
            "2,00123,Lea Leadingzero,Clock Out,2026-03-23 06:00:00,\n");
        row("odd values, of any period", days,
            "7:9 NULL, =1+1:in 5, \x1B:out 'a,\"', 00123:NULL 03-23 08:00, @a\nb:in 5",
            "4,00123,Lea Leadingzero,,2026-03-23 08:00:00,\"unpaired, unknown type\"\n"
            "3,\x1B,Unknown,Clock Out,\"a,\"\"\",\"unpaired, unreadable time\"\n"
            "1,7,Unknown,9,,\"unpaired, unreadable time, unknown type\"\n"
            "2,'=1+1,Unknown,Clock In,5,\"unpaired, unreadable time\"\n"
            "5,\"'@a\nb\",Unknown,Clock In,5,\"unpaired, unreadable time\"\n");
        row("today", {"punches"}, "out 03-23 08:00, out datetime('now','localtime','start of day')",
            u"2,1001,Anna Example,Clock Out,%1 00:00:00,unpaired\n"_s.arg(
                QDate::currentDate().toString(Qt::ISODate)));
        row("still in", days + QStringList{"--from", "2026-03-24", "--to", recent.left(10)},
            "in 03-23 08:00, in '" + recent + "'",
            "2,1001,Anna Example,Clock In," + recent + ",still in\n");
        row("who is in", {"present"},
            "in '" + recent +
                "', 1002:in 03-23 08:00, "
                "1002:in '" +
                forgotten +
                "', 1003:in 03-25 08:00, 1003:out 03-25 09:00, 1004:in '5', "
                "1005:in 03-23 08:00, 1005:7 03-23 08:30, 1006:out '2999-01-01 08:00', :in 03-23 "
                "08:00",
            "1001,Anna Example," + recent + ",\n1002,Bert Sample," + forgotten +
                ",likely forgotten Clock Out\n"
                "1006,Finn Pattern,2999-01-01 08:00,Clock Out in the future\n");
        row("who is in, by the second pass", {"present"}, "out 11-01 01:50, in 11-01 01:10",
            "1001,Anna Example,2026-11-01 01:10:00,likely forgotten Clock Out\n");
        row("who came without a badge", {"present"},
            ":in datetime('now','localtime'), :in datetime('now','localtime'), :in 03-23 08:00",
            ",Unknown,,punches today: 2\n");
        row("who came once without a badge", {"present"}, ":in datetime('now','localtime')",
            ",Unknown,,punches today: 1\n");
    }
    void lists()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, punches);
        store(punches);
        const Run run = start(arguments + QStringList{"--csv"});
        QCOMPARE(run.errors, "");
        QTEST(run.output.section("\r\n", 1).remove(u'\r'), "lines");
    }

    /// Of every day unless told, with the user who called sudo.
    void corrections()
    {
        qputenv("SUDO_USER", "eve");
        const auto unset = qScopeGuard([] { qunsetenv("SUDO_USER"); });
        storeAll();
        QCOMPARE(start({"punches", "remove", "2", "", "--reason", "twice"}).status, 0);
        m_database->run("UPDATE Correction SET DateTime = '2026-03-23 08:00:00'");
        const QString listed = start({"corrections", "--csv"}).output.section("\r\n", 1);
        QVERIFY2(listed.startsWith("2026-03-23 08:00:00,") && listed.endsWith(",twice\r\n"),
                 qPrintable(listed));
        QCOMPARE(listed.contains(",root (eve),punch removed,"), geteuid() == 0);
        QCOMPARE(start({"corrections", "--to", "2026-03-22"}).output.count(u'\n'), 1);
    }

    /// A list that a damaged page cuts short is an error.
    void damaged()
    {
        m_database->run("WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT "
                        "1000) INSERT INTO RawDataDetails SELECT 9, '1001', 1, '2026-03-23 "
                        "08:00:00', 0, 0 FROM n");
        QFile file(m_database->file());
        QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 4096));
        QCOMPARE(file.write("x"), 1);
        file.close();
        for (const char *list : {"punches --from 2026-03-23", "hours --week 2026-W13", "present"}) {
            const Run run = start(QString::fromLatin1(list).split(u' '));
            QCOMPARE(run.status, 1);
            QVERIFY2(run.errors.contains("malformed"), qPrintable(run.errors));
        }
    }

    /// Only those that are listed count: of a badge, `present` needs those of its last day.
    void tooManyPunches()
    {
        m_database->run(
            "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT 510000) "
            "INSERT INTO RawDataDetails SELECT 9, '1001', 1, datetime(1721425.5 + i), 0, 0 FROM n");
        QCOMPARE(start({"present"}).output.count(u'\n'), 2);
        const Run run = start({"hours", "--to", "2026-03-29"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains("More than 500000 punches"), qPrintable(run.errors));
    }

    void init()
    {
        m_database = std::make_unique<TestDatabase>(
            "DROP TABLE RawDataDetails; CREATE TABLE RawDataDetails (ID INTEGER, PersonalID "
            "VARCHAR(50), EventStatus SMALLINT, DateTime DATETIME, Shift, MachineNo);");
    }

private:
    Run start(const QStringList &arguments) const
    {
        return Run::start(SITETOOL, arguments + QStringList{"--file", m_database->file()});
    }

    /// Stores punches in batch 9: each "BADGE:TYPE TIME", without the badge of 1001. The time is
    /// one of 2026, or an SQL expression.
    void store(const QByteArray &punches) const
    {
        static const QRegularExpression form("(?:([^ ]*):)?([^ ]+) (.+)");
        static const QRegularExpression time("^[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}$");
        QByteArray sql;
        for (const QString &punch : QString::fromLatin1(punches).split(", ")) {
            const auto match = form.match(punch);
            const QByteArray badge =
                match.hasCaptured(1) ? match.captured(1).toLatin1() : QByteArray("1001");
            const QString type = match.captured(2);
            QString when = match.captured(3);
            if (time.match(when).hasMatch())
                when += ":00";
            if (when.size() == 14 && when[2] == u'-')
                when = "'2026-" + when + "'";
            const QString status = type == "in" ? "1" : type == "out" ? "0" : type;
            sql += "INSERT INTO RawDataDetails VALUES (9, CAST(x'" + badge.toHex() +
                   "' AS TEXT), " + (status + ", " + when).toLatin1() + ", 0, 0);";
        }
        m_database->run(sql);
    }

    void storeAll() const
    {
        store("in 03-23 08:00, :out 03-23 12:00, \x1B:7 'soon', 00123:in 03-23 09:00");
        m_database->run("UPDATE RawDataDetails SET ID = 4 WHERE _rowid_ = 4;"
                        "INSERT INTO RawData VALUES (9, 3, 1, 'MSR'), (4, 'x', 1, 'old'), "
                        "(9, 70, 1, 'MSR')");
    }

    std::unique_ptr<TestDatabase> m_database;
};

QTEST_GUILESS_MAIN(TestPunches)
#include "tst_punches.moc"
