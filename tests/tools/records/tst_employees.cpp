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
            "INSERT INTO Employee VALUES (' 77 ', 'Örjan'), ('1088', x'FF'), ('1\x1b', 'Eve')");
        m_sample = employees();
        m_bytes = TemporaryHome::read(m_database->file());
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
