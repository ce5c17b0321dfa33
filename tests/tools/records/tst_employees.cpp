#include "tests/support/Run.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"

class TestEmployees : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_database = std::make_unique<TestDatabase>(
            "INSERT INTO Employee VALUES (' 77 ', 'Örjan'), ('1088', x'FF'), ('1\x1b', 'Eve'), "
            "('10_1', 'Ulf')");
        m_sample = employees();
        m_bytes = TemporaryHome::read(m_database->file());
    }

    /// Each list is shown, then stored with its doubts, unless a line is refused.
    void lists_data()
    {
        Table<QByteArray, QStringList, QStringList> row("list", "shown", "stored");
        row("commas", "PersonalID,Name\n1012,Mia Madeup\n1001,Anna Exemplary\n1002,Bert Sample",
            {"2 add 1012 Mia Madeup", "3 rename 1001 Anna Exemplary was Anna Example"},
            {"-1001|Anna Example", "1001|Anna Exemplary", "1012|Mia Madeup"});
        row("Latin-1, semicolons, other columns",
            "Nr;NAME;Badge No.;Town\r\n1;M\xfcller, Jo;1012;\xc5\r\n;;;\r\n2;\x8aima;1013\r\n",
            {"2 add 1012 Müller, Jo", "4 add 1013 Šima"}, {"1012|Müller, Jo", "1013|Šima"});
        row("tabs, numbered lines",
            "\n\"No\"\t\"Employee\"\t\"Card\"\n1\tMia\t1012\n2\tBo, A; B\t1013",
            {"3 add 1012 Mia", "4 add 1013 Bo, A; B"}, {"1012|Mia", "1013|Bo, A; B"});
        row("byte-order mark, no heading", "\xef\xbb\xbf\"1012\",Zoë\n1013,Bob\r1014,X\n",
            {"1 add 1012 Zoë", "2 add 1013 Bob", "3 add 1014 X"},
            {"1012|Zoë", "1013|Bob", "1014|X"});
        row("comma within a name", "1012;Madeup, Mia", {"1 add 1012 Madeup, Mia"},
            {"1012|Madeup, Mia"});
        row("Latin-1 at the end", "1012,Zo\xeb", {"1 add 1012 Zoë"}, {"1012|Zoë"});
        row("quotes",
            "\"Name\";\"Badge\"\r\nA \"B\"; \"1012\" \r\n\"C\";1013\r\n\r\n\"\"\"D\"\"; E\";1014",
            {"2 add 1012 A \"B\"", "3 add 1013 C", "5 add 1014 \"D\"; E"},
            {"1012|A \"B\"", "1013|C", "1014|\"D\"; E"});
        row("blanks around",
            "\xc2\xa0"
            "1012\xe2\x80\x83,\xc2\xa0Mia A \n",
            {"1 add 1012 Mia A"}, {"1012|Mia A"});
        row("changed by a spreadsheet",
            "1012,A\n1013,B\n1014,C\n1015,D\n123,Lea\n1.23457E+11,Mia\n"
            "'00124,Bob\n124.0,Ann\n10124,Joe\n",
            {"1 add 1012 A", "2 add 1013 B", "3 add 1014 C", "4 add 1015 D",
             "5 doubt 123 Lea is this badge 00123?",
             "6 doubt 1.23457E+11 Mia badge not only of digits; badge of unusual length",
             "7 doubt '00124 Bob badge not only of digits; badge of unusual length",
             "8 doubt 124.0 Ann badge not only of digits; badge of unusual length",
             "9 doubt 10124 Joe badge of unusual length"},
            {"'00124|Bob", "1.23457E+11|Mia", "10124|Joe", "1012|A", "1013|B", "1014|C", "1015|D",
             "123|Lea", "124.0|Ann"});
        row("all shortened", "124,Mia", {"1 doubt 124 Mia badge of unusual length"}, {"124|Mia"});
        row("as many of two lengths", "1012,A\n10013,B\n1014,C\n10015,D\n",
            {"1 doubt 1012 A badge of unusual length", "2 add 10013 B",
             "3 doubt 1014 C badge of unusual length", "4 add 10015 D"},
            {"10013|B", "10015|D", "1012|A", "1014|C"});
        row("columns swapped", "Mia,1012\nAnna Example,1001",
            {"1 doubt Mia 1012 unlikely name; badge not only of digits; badge of unusual length",
             "2 doubt Anna Example 1001 unlikely name; badge not only of digits; "
             "badge of unusual length"},
            {"Anna Example|1001", "Mia|1012"});
        row("names", "1012,\"Mia\nMadeup\"\n1001,1001\n1013,O\xcc\x88 Bo",
            {"1 doubt 1012 Mia\\x0AMadeup unlikely name",
             "3 doubt 1001 1001 was Anna Example; unlikely name", "4 add 1013 O\u0308 Bo"},
            {"-1001|Anna Example", "1001|1001", "1012|Mia\\nMadeup", "1013|O\u0308 Bo"});
        const QByteArray fifty(50, '1');
        row("longest badge", fifty + ",A\n" + fifty + "1,B\n",
            {"1 doubt " + fifty + " A badge of unusual length",
             "2 refused " + fifty + "1 B badge longer than 50 characters"},
            {});
        row("refused", "1012,Mia,x\n1013,\n,Bob\n\"\n\",Ann\n\"1014\" x,Joe\n1015,A\n1015,A\n",
            {"1 refused 1012 Mia 3 columns instead of 2", "2 refused 1013 no name",
             "3 refused Bob no badge", "4 refused Ann no badge", "6 refused invalid quotes",
             "7 add 1015 A", "8 refused 1015 A same badge as line 7"},
            {});
        row("quotes left open", "1012,\"Mia\n1013,\"Bob\"\n1014,Ann\n1015,\"Joe\n",
            {"1 refused 1012 invalid quotes", "2 add 1013 Bob", "3 add 1014 Ann",
             "4 refused 1015 invalid quotes"},
            {});
        row("more columns than headings", "Badge,Name\n1012,Madeup, Mia",
            {"2 refused 1012 Madeup 3 columns instead of 2"}, {});
        row("nothing new", "Badge,Name\n1001,Anna Example\n", {}, {});
    }
    void lists()
    {
        QFETCH(QByteArray, list);
        QFETCH(QStringList, shown);
        TemporaryHome::write(path("list.csv"), list);
        const bool isRefused = shown.join(u'\n').contains(" refused ");
        const bool isDoubtful = shown.join(u'\n').contains(" doubt ");

        const Run preview = start({"import", path("list.csv")});
        QStringList lines;
        for (const QString &line : preview.output.split(u'\n').mid(1))
            lines += line.simplified();
        QCOMPARE(lines.mid(0, shown.size()), shown);
        QVERIFY2(lines.value(shown.size()).contains(" to add, "), qPrintable(preview.output));
        QCOMPARE(preview.status, isRefused ? 1 : 0);
        if (isRefused || isDoubtful)
            QCOMPARE(start({"import", path("list.csv"), "--apply"}).status, 1);
        QVERIFY(TemporaryHome::read(m_database->file()) == m_bytes);

        const Run applied = start({"import", path("list.csv"), "--apply", "--doubtful"});
        QCOMPARE(applied.status, isRefused ? 1 : 0);
        QTEST(changes(), "stored");
        QCOMPARE(TemporaryHome::read(m_database->file()) == m_bytes, changes().isEmpty());
    }

    void unreadableLists_data()
    {
        Table<QByteArray, QByteArray, QString> row("kind", "content", "why");
        row("missing", "", "", "No such file");
        for (const char *kind : {"pipe", "device", "folder"})
            row(kind, kind, "", "not a regular file");
        row("empty", "file", "", "empty");
        row("UTF-16", "file",
            QByteArray("\xff\xfe"
                       "1\0,\0A\0",
                       8),
            "\"CSV UTF-8\"");
        row("large", "file", QByteArray((1 << 20) + 1, '1'), "larger than 1 MiB");
    }
    void unreadableLists()
    {
        QFETCH(QByteArray, kind);
        QFETCH(QByteArray, content);
        QFETCH(QString, why);
        if (kind == "file")
            TemporaryHome::write(path("list.csv"), content);
        else if (!kind.isEmpty())
            TemporaryHome::putInPlace(kind, path("list.csv"));
        const Run run = start({"import", path("list.csv"), "--apply", "--doubtful"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(why), qPrintable(run.errors));
        QVERIFY(TemporaryHome::read(m_database->file()) == m_bytes);
    }

    /// A line that cannot be stored, here because of a trigger, undoes those before it.
    void importIsOneTransaction()
    {
        m_database->run("CREATE TRIGGER t BEFORE INSERT ON Employee WHEN new.Name = 'Bob' "
                        "BEGIN SELECT raise(ABORT, 'no'); END");
        TemporaryHome::write(path("list.csv"), "1012,Mia\n1001,Ann\n1013,Bob\n");
        QCOMPARE(start({"import", path("list.csv"), "--apply"}).status, 1);
        QCOMPARE(changes(), QStringList());
        QCOMPARE(m_database->run("SELECT * FROM sqlite_master WHERE name = 'Correction'"), "");
    }

    void single_data()
    {
        const QString fifty(50, u'1');
        Table<QStringList, QString, QStringList, QString> row("arguments", "said", "stored",
                                                              "correction");
        row("add", {"add", " 0123\u00A0", "\tMia Madeup "}, "Added 0123 Mia Madeup.",
            {"0123|Mia Madeup"}, "employee added||0123 Mia Madeup|test");
        row("longest badge", {"add", fifty, "Mia"}, "Added", {fifty + "|Mia"},
            "employee added||" + fifty + " Mia|test");
        row("too long", {"add", fifty + u'1', "Mia"}, "badge longer than 50 characters", {}, "");
        row("no badge", {"add", "\u2003", "Mia"}, "no badge", {}, "");
        row("no name", {"add", "1012", " \u00A0"}, "no name", {}, "");
        row("known", {"add", " 1001", "Mia"}, "The badge exists: 1001 Anna Example", {}, "");
        row("rename", {"rename", "1001 ", " Ann "}, "Renamed 1001 Anna Example to Ann.",
            {"-1001|Anna Example", "1001|Ann"}, "employee renamed|1001 Anna Example|1001 Ann|test");
        row("rename to nothing", {"rename", "1001", ""}, "no name", {}, "");
        row("rename unknown", {"rename", "123", "Lea"}, "No employee has badge \"123\"", {}, "");
        row("remove", {"remove", "00123"}, "Removed 00123 Lea Leadingzero. The punches",
            {"-00123|Lea Leadingzero"}, "employee removed|00123 Lea Leadingzero||test");
        row("remove unknown", {"remove", "100_"}, "No employee has badge \"100_\"", {}, "");
        row("remove no similar badge", {"remove", "10_1"}, "Removed 10_1 Ulf.", {"-10_1|Ulf"},
            "employee removed|10_1 Ulf||test");
        row("blanks around a stored badge", {"remove", " 77 "}, "Removed  77  Örjan.",
            {"- 77 |Örjan"}, "employee removed| 77  Örjan||test");
        row("for a terminal", {"remove", "1\x1b"}, "Removed 1\\x1B Eve.", {"-1\x1b|Eve"},
            "employee removed|1\x1b Eve||test");
    }
    void single()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        QFETCH(QStringList, stored);
        const Run run = start(arguments + QStringList{"--reason", "test"});
        QVERIFY2((run.output + run.errors).contains(said), qPrintable(run.output + run.errors));
        QCOMPARE(run.status, stored.isEmpty() ? 1 : 0);
        QCOMPARE(changes(), stored);
        if (stored.isEmpty())
            QVERIFY(TemporaryHome::read(m_database->file()) == m_bytes);
        else
            QTEST(m_database->run("SELECT Change, Was, Became, Reason FROM Correction"),
                  "correction");
    }

    void listed_data()
    {
        Table<QStringList, QString> row("arguments", "listed");
        row("name", {"ÖR"}, "Badge  Name\n 77    Örjan\n");
        row("badge, as CSV", {"088", "--csv"}, "Badge,Name\r\n1088,\uFFFD\r\n");
        row("no wildcards", {"%"}, "Badge  Name\n");
        row("for a terminal", {"Eve"}, "Badge  Name\n1\\x1B  Eve\n");
    }
    void listed()
    {
        QFETCH(QStringList, arguments);
        const Run run = start(arguments);
        QTEST(run.output, "listed");
        QCOMPARE(run.status, 0);
        QCOMPARE(start({}).output.count(u'\n'), 1 + m_sample.size());
    }

private:
    QString path(const char *name) const { return m_database->folder() + u'/' + name; }

    Run start(const QStringList &arguments) const
    {
        return Run::start(SITETOOL, QStringList{"employees"} + arguments +
                                        QStringList{"--file", m_database->file()});
    }

    /// The rows of the table, with line breaks in names as \n.
    QSet<QString> employees() const
    {
        const QString rows = m_database->run(
            "SELECT PersonalID, replace(Name, char(10), '\\n') FROM Employee ORDER BY _rowid_");
        const QStringList lines = rows.split(u'\n');
        return {lines.begin(), lines.end()};
    }

    /// The rows that differ from those before the test, and the others after a "-".
    QStringList changes() const
    {
        QStringList found = (employees() - m_sample).values();
        for (const QString &gone : m_sample - employees())
            found += u'-' + gone;
        found.sort();
        return found;
    }

    std::unique_ptr<TestDatabase> m_database;
    QSet<QString> m_sample;
    QByteArray m_bytes;
};

QTEST_GUILESS_MAIN(TestEmployees)
#include "tst_employees.moc"
