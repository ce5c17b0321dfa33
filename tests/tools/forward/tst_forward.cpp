#include "tests/support/OfficeServer.h"
#include "tests/support/Run.h"
#include "tests/support/Table.h"
#include "tests/support/TestDatabase.h"

#include <QRandomGenerator>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>

using namespace Qt::StringLiterals;

static constexpr char North[] = "11111111-1111-1111-1111-111111111111"; // identities
static constexpr char South[] = "22222222-2222-2222-2222-222222222222";

static constexpr char FourPunches[] =
    "('1001', 1, '2026-03-23 08:00:00'), ('1001', 1, '2026-03-23 08:00:00'), "
    "('1002', 0, '2026-03-23 16:00:00'), ('1001', 0, '2026-03-24 16:00:00')";

/// Runs the program against a server. Each row has its own file, bound to the door north, and an
/// empty office that also knows the door south.
class TestForward : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &name : QProcessEnvironment::systemEnvironment().keys()) {
            if (name.startsWith("PG"))
                qunsetenv(qPrintable(name));
        }
        const QProcessEnvironment environment = m_office.environment("north");
        for (const char *name : {"PGHOST", "PGDATABASE", "PGUSER"})
            qputenv(name, environment.value(name).toUtf8());
        const QByteArray schema = Run::start(FORWARD, {"schema"}).output.toUtf8();
        m_office.run(schema + "CREATE ROLE clerk LOGIN;");
        for (const char *door : {"north", "south", "window"})
            m_office.run(Run::start(FORWARD, {"door", door}).output.toUtf8());
        m_office.run(schema);
        beginSilentPass();
    }

    void init()
    {
        newFile();
        m_office.run("DELETE FROM tavrel.punch; DELETE FROM tavrel.day; DELETE FROM tavrel.door; "
                     "DELETE FROM tavrel.employee; INSERT INTO tavrel.door (door, identity, zone) "
                     "VALUES ('north', '"_ba +
                     North + "', NULL), ('south', '" + South + "', 'UTC'), ('window', NULL, NULL)");
    }

    void arrives_data()
    {
        Table<QByteArray> row("values");
        row("equal ones", "('1', 1, '2026-03-23 08:00:00'), ('1', 0, '2026-03-23 08:00:00'), "
                          "('1', 1, '2026-03-23 08:00:00')");
        row("badges", "('', 1, '2026-03-23 08:00:00'), (NULL, 0, '2026-03-23 08:00:00'), "
                      "('00123', '1', '2026-03-23 08:00:00'), (123, 1, '2026-03-23 08:00:00'), "
                      "('O''N\"\\\\x{}', 1, '2026-03-23 08:00:00'), "
                      "('Ω中🙂e\u0301é', 1, '2026-03-23 08:00:00'), "
                      "(' \t\x1b\n', 1, '2026-03-23 08:00:00'), "
                      "(printf('%0500d', 0), 1, '2026-03-23 08:00:00')");
        row("times", "('1', 1, '2026-03-23T08:00:30'), ('1', 1, '2026-03-23T08:01'), "
                     "('1', 1, '2026-03-23 23:59:59'), ('1', 1, '2026-03-24 00:00:00'), "
                     "('1', 1, '0001-02-03 00:00:00'), ('1', 1, '9999-12-31 23:59:59'), "
                     "('1', 1, '2024-02-29 02:30:00'), ('1', 1, '2026-03-08 02:30:00')");
        row("row numbers", "('1', 1, '2026-03-23 08:00'), ('2', 0, '2026-03-23 09:00'), "
                           "('3', 1, '2026-03-23 10:00'); UPDATE RawDataDetails SET _rowid_ = "
                           "CASE PersonalID WHEN '1' THEN -9223372036854775807 - 1 "
                           "WHEN '2' THEN 0 ELSE 9223372036854775807 END");
    }
    void arrives()
    {
        QFETCH(QByteArray, values);
        store(values);
        expect("run", 0, "withdrawn: 0. The office has all", {"PGDATESTYLE=German"});
        QCOMPARE(atOffice(), atDoor());
        expect("status", 0, "The office has all punches.");
    }

    /// Each pass says so, and sends all others.
    void unsendable()
    {
        store("('1', 1, '2026-03-23 08:00'), (x'31', 1, '2026-03-23 08:00'), "
              "(CAST(x'FF' AS TEXT), 1, '2026-03-23 08:00'), "
              "('a' || char(0), 1, '2026-03-23 08:00'), "
              "(printf('%0501d', 0), 1, '2026-03-23 08:00'), ('6', 2, '2026-03-23 08:00'), "
              "('7', NULL, '2026-03-23 08:00'), ('8', 1, NULL), ('9', 1, 20260323), "
              "('10', 1, '2026-02-30 08:00'), ('11', 1, CAST('2026-03-23 08:00' AS BLOB)), "
              "(char(65279) || 12, 1, '2026-03-23 08:00')");
        settle();
        for (int pass = 0; pass < 2; ++pass) {
            expect("run", 1, "Rows that cannot be sent: 10. tavrel-forward status lists them.");
            QCOMPARE(atOffice(), "1|1|2026-03-23 08:00:00\n\uFEFF12|1|2026-03-23 08:00:00");
        }
        const Run run = start("status");
        QCOMPARE(run.status, 1);
        QStringList reasons;
        for (const QString &line : run.output.split(u'\n').mid(2))
            reasons +=
                line.simplified().section(u' ', 0, 0) + u' ' + line.section("  ", -1).trimmed();
        QCOMPARE(reasons.mid(0, 10).join(", "),
                 "2 badge is not text, 3 badge is not text, 4 badge is not text, 5 badge too long, "
                 "6 neither Clock In (1) nor Clock Out (0), 7 neither Clock In (1) nor Clock Out "
                 "(0), 8 no date and time, 9 no date and time, 10 no date and time, 11 no date and "
                 "time");
    }

    /// What each step changes at the door; then the number of punches at the office, and how many
    /// of them are withdrawn.
    void corrections_data()
    {
        const QByteArray change = "UPDATE RawDataDetails SET ";
        const QByteArray remove = "DELETE FROM RawDataDetails WHERE _rowid_ ";
        const QByteArray repeat = "INSERT INTO RawDataDetails SELECT * FROM RawDataDetails LIMIT 1";
        Table<QByteArrayList, QString> row("steps", "counts");
        row("badge", {change + "PersonalID = '9' WHERE _rowid_ = 3"}, "5|1");
        row("two equal ones", {change + "PersonalID = '9' WHERE _rowid_ < 3"}, "6|2");
        row("type of one of two equal", {change + "EventStatus = 0 WHERE _rowid_ = 1"}, "5|1");
        row("to a known day", {change + "DateTime = '2026-03-24 16:00' WHERE _rowid_ = 3"}, "5|1");
        row("to a new day", {change + "DateTime = '2026-03-25 16:00' WHERE _rowid_ = 3"}, "5|1");
        row("one of two equal removed", {remove + "= 1"}, "4|1");
        row("a third equal one", {repeat}, "5|0");
        row("day removed", {remove + "< 4"}, "4|3");
        row("removed and added again, twice", {remove + "= 2", repeat, remove + "= 1", repeat},
            "6|2");
        row("no longer to be sent", {change + "EventStatus = 2 WHERE _rowid_ = 4"}, "4|1");
        row("renumbered", {change + "_rowid_ = -_rowid_", change + "_rowid_ = 9 - _rowid_"}, "4|0");
        row("form of the time", {change + "DateTime = replace(substr(DateTime, 1, 16), ' ', 'T')"},
            "4|0");
    }
    void corrections()
    {
        QFETCH(QByteArrayList, steps);
        store(FourPunches);
        start("run");
        for (const QByteArray &step : steps) {
            m_database->run(step);
            start("run");
            QCOMPARE(atOffice(), atDoor());
        }
        QTEST(m_office.run("SELECT count(*), count(withdrawn) FROM tavrel.punch"), "counts");
        QVERIFY(!start("status").output.contains("Day"));
    }

    /// The next pass with this state changes nothing at the office, and repairs it.
    void states_data()
    {
        Table<QByteArray, QByteArray> row("found", "replacement");
        row("kept", "^", "");
        row("lost", "(.|\n)*", "");
        row("cut off", "2026-03-24 1 [0-9]*\n", "");
        row("cut off in a line", "3-24 1 [0-9]*\n", "");
        row("another digest", "23 3 [0-9]", "23 3 0");
        row("garbage", "\n", "\nx\xff\n\n");
    }
    void states()
    {
        QFETCH(QByteArray, found);
        QFETCH(QByteArray, replacement);
        store(FourPunches);
        settle();
        start("run");
        const QString file = m_database->folder() + "/Tavrel/" + North + ".forward";
        const QString state = QString::fromLatin1(TemporaryHome::read(file));
        TemporaryHome::write(
            file, QString(state).replace(QRegularExpression(found), replacement).toLatin1());
        expect("run", 0, "Punches sent: 0, withdrawn: 0. The office has all 4.");
        QCOMPARE(m_office.run("SELECT count(*) FROM tavrel.punch"), "4");
        static const QRegularExpression times("[0-9-]{10} [0-9:]{8}");
        QCOMPARE(QString::fromLatin1(TemporaryHome::read(file)).remove(times),
                 QString(state).remove(times));
    }

    void restoredOffice()
    {
        store(FourPunches);
        start("run");
        m_office.run("\\c postgres\nCREATE DATABASE older TEMPLATE office");
        m_database->run("UPDATE RawDataDetails SET PersonalID = '9' WHERE _rowid_ = 3");
        store("('1001', 1, '2026-03-25 08:00:00')");
        settle();
        expect("status", 1, "2026-03-23     3       3  differs");
        for (const char *office : {"PGDATABASE=office", "PGDATABASE=older"})
            expect("run", 0, "Punches sent: 2, withdrawn: 1. The office has all 5.", {office});
        QCOMPARE(atOffice("\\c older\n"), atDoor());
        expect("run", 0, "Punches sent: 0, withdrawn: 0. The office has all 5.");
    }

    void deletedAtOffice()
    {
        store(FourPunches);
        start("run");
        m_office.run("DELETE FROM tavrel.punch WHERE badge = '1002'");
        expect("status", 1, "2026-03-23     3       2  changed at the office");
        QVERIFY(QDir(m_database->folder() + "/Tavrel").removeRecursively());
        expect("run", 0, "Punches sent: 1, withdrawn: 0. The office has all 4.");
        expect("status", 0, "The office has all punches.");
    }

    void twoPassesAtOnce()
    {
        store(FourPunches);
        const auto first = beginPass();
        expect("run", 1, "Another pass of this door is running.");
        const auto ofAnotherUser = beginPass({"XDG_STATE_HOME=" + m_database->folder() + "/other"});
        unlock();
        expectEnd(*first, 0, "Punches sent: 4");
        expectEnd(*ofAnotherUser, 0, "The office has all 4.");
        QCOMPARE(m_office.run("SELECT count(*) FROM tavrel.punch"), "4");
    }

    /// What happens at the office and at the door while a pass is in its transaction, and how the
    /// pass ends. After the next one all is there.
    void interrupted_data()
    {
        Table<QString, QByteArray, QByteArray, int, QString> row("setting", "atOffice", "atDoor",
                                                                 "status", "said");
        const QByteArray pass = "(pid) FROM pg_stat_activity WHERE usename = 'north' AND datname = "
                                "'office'";
        row("cut", "", "SELECT pg_terminate_backend" + pass, "", 75, "Cannot reach the office (");
        row("cancelled", "", "SELECT pg_cancel_backend" + pass, "", 1, "refuses: canceling");
        row("time limit", "PGOPTIONS=-c statement_timeout=1s", "", "", 1, "refuses: canceling");
        row("corrected", "", "", "UPDATE RawDataDetails SET PersonalID = '9' WHERE _rowid_ = 3", 0,
            "Punches sent: 4");
    }
    void interrupted()
    {
        QFETCH(QString, setting);
        QFETCH(QByteArray, atOffice);
        QFETCH(QByteArray, atDoor);
        QFETCH(int, status);
        QFETCH(QString, said);
        store(FourPunches);
        settle();
        const auto pass = beginPass({setting});
        m_database->run(atDoor);
        settle(QDateTime::currentDateTime().addSecs(-1800));
        m_office.run(atOffice);
        if (status == 0)
            unlock();
        expectEnd(*pass, status, said);
        unlock();
        QCOMPARE(m_office.run("SELECT count(*) FROM tavrel.punch"), status == 0 ? "4" : "0");
        expect("run", 0, "The office has all 4.");
        QCOMPARE(this->atOffice(), this->atDoor());
    }

    /// On a file system that counts time in seconds.
    void storedInTheSameSecond()
    {
        const QDateTime now = QDateTime::currentDateTime();
        store(FourPunches);
        settle(now);
        start("run");
        m_database->run("UPDATE RawDataDetails SET PersonalID = '1009' WHERE _rowid_ = 4");
        settle(now);
        expect("run", 0, "Punches sent: 1, withdrawn: 1. The office has all 4.");
    }

    void writeAheadLog()
    {
        sqlite3 *clock = nullptr;
        sqlite3_open(m_database->file().toUtf8().constData(), &clock);
        const auto close = qScopeGuard([&] { sqlite3_close(clock); });
        sqlite3_exec(clock, "PRAGMA journal_mode = WAL; SELECT * FROM RawData", nullptr, nullptr,
                     nullptr);
        store(FourPunches);
        for (int count = 5; count < 7; ++count) {
            settle();
            start("run");
            store("('1001', 1, '2026-03-23 09:00:00')");
            expect("run", 0, u"Punches sent: 1, withdrawn: 0. The office has all %1."_s.arg(count));
        }
    }

    /// How many punches a door may withdraw that has sent some on each of some days.
    void limits_data()
    {
        Table<QByteArray, int> row("days", "limit");
        row("few", fill("2026-03-23", 1, 40), 10);
        row("month", fill("2026-03-01", 31, 115) + fill("2026-02-28", 1, 1500), 11);
        row("many", fill("2026-03-23", 2, 1200), 100);
    }
    void limits()
    {
        QFETCH(QByteArray, days);
        QFETCH(int, limit);
        const auto remove = [&](int count) {
            m_database->run("DELETE FROM RawDataDetails WHERE _rowid_ IN (SELECT _rowid_ FROM "
                            "RawDataDetails LIMIT " +
                            QByteArray::number(count) + ')');
        };
        m_database->run(days);
        start("run");
        remove(limit);
        expect("run", 0, u"Punches sent: 0, withdrawn: %1."_s.arg(limit));
        remove(limit + 1);
        const QString refused = u"%1      0\ntavrel-forward: This would withdraw %2 punches at the "
                                "office. Nothing is withdrawn."_s;
        m_office.run("UPDATE tavrel.door SET last_pass = NULL");
        expect("run", 1, refused.arg(limit + 1, 11).arg(limit + 1));
        QCOMPARE(m_office.run("SELECT last_pass FROM tavrel.door WHERE door = 'north'"), "");
        expect("status", 1, "differs");
        QCOMPARE(m_office.run("SELECT count(withdrawn) FROM tavrel.punch").toInt(), limit);
        expect("run --withdraw", 0, u"Punches sent: 0, withdrawn: %1."_s.arg(limit + 1));
    }

    /// A wrong file withdraws nothing, even if the door is bound to it by mistake.
    void wrongFile()
    {
        m_database->run(fill("2026-03-23", 1, 11));
        start("run");
        m_database->run("DELETE FROM RawDataDetails; DROP TABLE Forwarding");
        for (const char *command : {"run", "status"})
            expect(command, 1, "The database is not bound to a door yet. Run tavrel-forward adopt");
        expect("adopt", 0, "/Orvanta.mdb, and no longer to another database.");
        expect("adopt", 0, "/Orvanta.mdb.");
        expect("run", 1, "This would withdraw 11 punches at the office. Nothing is withdrawn.");
        QCOMPARE(m_office.run("SELECT count(withdrawn) FROM tavrel.punch"), "0");
    }

    /// What would look like a table without rows withdraws nothing.
    void hiddenRows_data()
    {
        Table<QByteArray> row("sql");
        const QByteArray rename = "ALTER TABLE RawDataDetails RENAME TO Other; ";
        row("view", rename + "CREATE VIEW RawDataDetails AS SELECT * FROM Other");
        row("column _rowid_", "ALTER TABLE RawDataDetails ADD COLUMN _ROWID_");
        row("no row numbers", rename + "CREATE TABLE RawDataDetails (PersonalID PRIMARY KEY, "
                                       "EventStatus, DateTime) WITHOUT ROWID");
        row("no table", rename);
    }
    void hiddenRows()
    {
        QFETCH(QByteArray, sql);
        store(FourPunches);
        start("run");
        m_database->run(sql);
        expect("run", 1, "RawDataDetails is not a table with row numbers");
        QCOMPARE(m_office.run("SELECT count(withdrawn) FROM tavrel.punch"), "0");
    }

    void refusals_data()
    {
        Table<QString, QString, int, QString> row("setting", "command", "status", "why");
        const QString notBound = "The door \"south\" is not bound to this database. If it is the "
                                 "door's database, run tavrel-forward adopt.";
        row("copied file", "PGUSER=south", "run", 1, notBound);
        row("status of a copied file", "PGUSER=south", "status", 1, notBound);
        row("copied file adopted", "PGUSER=south", "adopt", 1, "is that of another door.");
        for (const char *command : {"adopt", "run", "status"}) {
            row("no door", "PGUSER=office", command, 1, "The office has no door \"office\".");
            row("no rights", "PGUSER=clerk", command, 1, "tavrel-forward door NAME | psql.");
            row("no schema", "PGDATABASE=postgres", command, 1, "tavrel-forward schema | psql.");
            row("no role", "PGUSER=stranger", command, 75, "role \"stranger\" does not exist");
            row("no server", "PGHOST=/nowhere", command, 75, "Cannot reach the office (");
        }
        row("no state", "XDG_STATE_HOME=/dev/null", "run", 1, "Cannot write \"/dev/null/Tavrel/");
        row("no such zone", "TZ=Mars/Base", "run", 1, "time zone \"Mars/Base\" not recognized");
        for (const char *command : {"", "send", "run a b", "adopt --withdraw", "door"})
            row(command, "", command, 2, "");
        for (const char *name : {"North", "1st", "pg_x", "tavrel_door", "a-b", "north\n"})
            row(name, "", QString("door ") + name, 2, "is not a name of a door");
        row("long name", "", "door " + QString(64, 'a'), 2, "is not a name of a door");
    }
    void refusals()
    {
        QFETCH(QString, setting);
        QFETCH(QString, command);
        QFETCH(int, status);
        QFETCH(QString, why);
        store(FourPunches);
        const QByteArray before = TemporaryHome::read(m_database->file());
        expect(command, status, why, {setting});
        QCOMPARE(TemporaryHome::read(m_database->file()), before);
        if (status == 1)
            QCOMPARE(atOffice(), "");
    }

    /// What the door south may do: each statement ends with this SQLSTATE.
    void rights_data()
    {
        const QByteArray denied = "42501";
        const QByteArray raised = "P0001";
        Table<QByteArray, QByteArray> row("statements", "state");
        for (const char *name : {"door", "punch", "day"})
            row(name,
                QByteArray("SELECT FROM tavrel.@; INSERT INTO tavrel.@ DEFAULT VALUES; UPDATE "
                           "tavrel.@ SET door = ''; DELETE FROM tavrel.@; TRUNCATE tavrel.@; "
                           "ALTER TABLE tavrel.@ OWNER TO south")
                    .replace('@', name),
                denied);
        row("employee",
            "INSERT INTO tavrel.employee VALUES (1, 1); DELETE FROM tavrel.employee; "
            "UPDATE tavrel.employee SET name = 1; TRUNCATE tavrel.employee",
            denied);
        row("views and helpers",
            "SELECT FROM tavrel.named_punch; SELECT FROM tavrel.present; "
            "SELECT FROM tavrel.silent_door; SELECT tavrel.own_door(:south); "
            "SELECT tavrel.hours('2026-03-23', '2026-03-23'); "
            "SELECT tavrel.moments('1001', '2026-03-23', '2026-03-23'); "
            "SELECT nextval('tavrel.punch_id_seq')",
            denied);
        row("new objects",
            "CREATE TABLE tavrel.mine (); CREATE VIEW tavrel.mine AS SELECT; CREATE SCHEMA mine; "
            "CREATE FUNCTION tavrel.mine() RETURNS int LANGUAGE sql RETURN 1; "
            "CREATE OR REPLACE FUNCTION tavrel.adopt(database uuid) RETURNS boolean LANGUAGE sql "
            "RETURN true",
            denied);
        row("another's role",
            "SET ROLE north; SET SESSION AUTHORIZATION north; SET ROLE office; GRANT north TO "
            "south; ALTER ROLE north PASSWORD ''; SELECT pg_read_file('postmaster.pid')",
            denied);
        row("another's identity",
            "SELECT tavrel.greet(:north, 'UTC'); SELECT tavrel.days(:north); "
            "SELECT tavrel.take(:north, '[]', '[]'); SELECT tavrel.adopt(:north)",
            raised);
        row("types of the same names",
            "CREATE FUNCTION pg_temp.spy() RETURNS boolean LANGUAGE sql RETURN 1 / (random() * "
            "0)::int = 0; CREATE DOMAIN pg_temp.date AS pg_catalog.date CHECK (pg_temp.spy()); "
            "SET search_path = pg_temp, pg_catalog; SELECT tavrel.take(:south, '[[\"2026-03-23\", "
            "1, \"0\"]]', "
            "'[[\"2026-03-23 08:00\", 1, \"1\"]]'); SELECT tavrel.days(:south)",
            "00000");
        row("punches of other days",
            "SELECT tavrel.take(:south, '[[\"2026-03-23\", 1, \"0\"]]', "
            "'[[\"2026-03-24 08:00\", 1, \"1\"]]'); SELECT tavrel.take(:south, '[]', "
            "'[[\"2026-03-24 08:00\", 1, \"1\"]]')",
            raised);
        row("own identity",
            "SELECT FROM tavrel.employee; SELECT tavrel.adopt(:south); SET ROLE tavrel_door; "
            "SELECT tavrel.greet(:south, 'UTC'); SELECT tavrel.days(:south); "
            "SELECT tavrel.take(:south, '[[\"2026-03-23\", 0, \"0\"]]', '[]')",
            "00000");
    }
    void rights()
    {
        QFETCH(QByteArray, statements);
        QFETCH(QByteArray, state);
        statements.replace(":north", "'"_ba + North + "'").replace(":south", "'"_ba + South + "'");
        m_office.run("INSERT INTO tavrel.punch (door, badge, type, local_time, zone, place) "
                     "VALUES ('north', 'n', 1, '2026-03-23 08:00', 'UTC', 1)");
        const QString echo = ";\n\\echo SQLSTATE :SQLSTATE\n";
        const QStringList all = QString::fromLatin1(statements).split("; ");
        const QString script = "\\set ON_ERROR_STOP off\n" + all.join(echo) + echo;
        const QStringList lines = m_office.run(script.toUtf8(), "south").split(u'\n');
        QCOMPARE(lines.filter("SQLSTATE"), QStringList(all.size(), "SQLSTATE " + state));
        QCOMPARE(m_office.run("SELECT identity FROM tavrel.door JOIN tavrel.punch USING (door) "
                              "WHERE badge = 'n'"),
                 QString(North));
    }

    void nothingIsOpenToPublic()
    {
        QCOMPARE(m_office.run("SELECT proname FROM pg_proc WHERE pronamespace = "
                              "'tavrel'::regnamespace AND has_function_privilege('clerk', oid, "
                              "'EXECUTE') UNION ALL SELECT relname FROM pg_class WHERE "
                              "relnamespace = 'tavrel'::regnamespace AND relkind <> 'i' AND "
                              "has_table_privilege('clerk', oid, 'SELECT, INSERT, UPDATE')"),
                 "");
    }

    /// The door's employees are 1001 and 1002 before.
    void employees_data()
    {
        Table<QByteArray, QByteArray, int, QString, QString, QString> row(
            "office", "door", "status", "said", "employees", "corrections");
        const QByteArray other = "INSERT INTO tavrel.employee VALUES ('1001', 'Anna Neu'), "
                                 "('00123', 'Zoë')";
        const QByteArray equal = "INSERT INTO tavrel.employee VALUES ('1002', 'Bert Sample'), "
                                 "('1001', 'Anna Example')";
        const QString before = "1001|Anna Example\n1002|Bert Sample";
        row("other", other, "", 0, "Employees changed after the list of the office: 3.",
            "00123|Zoë\n1001|Anna Neu",
            "employee removed|1002 Bert Sample||list of the office\n"
            "employee added||00123 Zoë|list of the office\n"
            "employee renamed|1001 Anna Example|1001 Anna Neu|list of the office");
        row("equal", equal, "", 0, "Punches sent: 4", before, "");
        row("equal but for bytes", equal, "INSERT INTO Employee VALUES (x'37', 'Seven')", 0,
            "Punches sent: 4", before + "\n7|Seven", "");
        row("none", "", "", 0, "The office has no employees; those of the database stay.", before,
            "");
        row("one cannot be stored", other,
            "CREATE TRIGGER Own BEFORE UPDATE ON Employee BEGIN SELECT raise(IGNORE); END", 1,
            "The database did not make the change", before, "");
    }
    void employees()
    {
        QFETCH(QByteArray, office);
        QFETCH(QByteArray, door);
        QFETCH(int, status);
        QFETCH(QString, said);
        store(FourPunches);
        m_database->run(
            "CREATE TABLE Correction (DateTime, UserName, Change, Was, Became, Reason); DELETE "
            "FROM Employee WHERE PersonalID NOT IN ('1001', '1002');" +
            door);
        m_office.run(office);
        expect("run --employees", status, said);
        QTEST(m_database->run("SELECT * FROM Employee ORDER BY PersonalID"), "employees");
        QTEST(m_database->run("SELECT Change, Was, Became, Reason FROM Correction"), "corrections");
        QCOMPARE(atOffice(), atDoor());
    }

    /// The office's hours, and who is in, are those of sitetool: here of random punches around both
    /// changes of the clocks, and of some of today.
    void hours_data()
    {
        Table<QDate, QDate, int> row("forward", "back", "repeatedHour");
        row("EST5EDT,M3.2.0,M11.1.0", QDate(2025, 3, 9), QDate(2025, 11, 2), 1);
        row("Europe/Berlin", QDate(2025, 3, 30), QDate(2025, 10, 26), 2);
        row("Europe/Dublin", QDate(2025, 3, 30), QDate(2025, 10, 26), 1);
        row("Asia/Beirut", QDate(2025, 3, 30), QDate(2025, 10, 26), -1);      // at midnight
        row("Australia/Lord_Howe", QDate(2025, 10, 5), QDate(2025, 4, 6), 1); // by half an hour
    }
    void hours()
    {
        QFETCH(QDate, forward);
        QFETCH(QDate, back);
        QFETCH(int, repeatedHour);
        const QString zone = u"TZ="_s + QTest::currentDataTag();
        QRandomGenerator random(17);
        const QDate before = back.addDays(-364);
        const QDate days[] = {forward, back, before};
        QStringList punches;
        for (int hour = 1; hour < 4; ++hour) // 0.03 hours, three times 0.0083
            punches +=
                u"('1', 1, '2025-06-01 0%1:00:00'), ('1', 0, '2025-06-01 0%1:00:30')"_s.arg(hour);
        for (int badge = 900; badge < 1200; ++badge) {
            QStringList times;
            for (int count = random.bounded(1, 12); count > 0; --count) {
                const int seconds = random.bounded(8) > 0
                                        ? repeatedHour * 3600 + random.bounded(-4, 9) * 600
                                        : random.bounded(-100'000, 200'000);
                const QDateTime day(days[random.bounded(3)], {}, Qt::UTC);
                times += day.addSecs(seconds).toString("yyyy-MM-dd HH:mm:ss");
            }
            if (badge % 2 == 0)
                times.sort();
            for (const QString &time : times)
                punches += u"('%1', %2, '%3')"_s.arg(badge).arg(random.bounded(2)).arg(time);
        }
        for (const char *hours : {"1", "-14", "-18"}) {
            const QString when = QString(hours) + " hours";
            const QString time = Run::start("env", {zone, "date", "+%F %T", "-d", when}).output;
            punches += u"('now%1', 1, '%2'), ('', 1, '%2')"_s.arg(hours, time.trimmed());
        }
        store(punches.join(", ").toUtf8());
        m_database->run("UPDATE Employee SET Name = 'x' || PersonalID");
        m_office.run("INSERT INTO tavrel.employee SELECT i, 'x' || i FROM generate_series(1001, "
                     "1011) AS i");
        start("run", {zone});
        m_database->run("DELETE FROM RawDataDetails WHERE _rowid_ % 3 = 0; UPDATE RawDataDetails "
                        "SET DateTime = datetime(DateTime, '10 minutes') WHERE _rowid_ % 7 = 0");
        start("run --withdraw", {zone});
        m_office.run("VACUUM ANALYZE tavrel.punch"); // the statistics of other tests slow this down

        for (const auto &[first, last] : {std::pair(forward, forward),
                                          {back, back},
                                          {before, before},
                                          {QDate(1, 1, 1), QDate(9999, 12, 31)}}) {
            const QString from = first.toString(Qt::ISODate);
            const QString to = last.toString(Qt::ISODate);
            const QString hours = u"SELECT badge, name, hours, longest, unpaired, remark "
                                  "FROM tavrel.hours('%1', '%2')"_s.arg(from, to);
            QCOMPARE(m_office.run(hours.toUtf8()),
                     listAtDoor(zone, "hours --from " + from + " --to " + to));
        }
        QCOMPARE(m_office.run("SELECT badge, name, since, remark FROM tavrel.present"),
                 listAtDoor(zone, "present").remove(QRegularExpression("(^|\n)\\|.*")).trimmed());
    }

    void views()
    {
        store(FourPunches);
        m_office.run("INSERT INTO tavrel.employee VALUES ('1001', 'Anna Neu')");
        start("run");
        m_database->run("DELETE FROM RawDataDetails WHERE _rowid_ < 3");
        start("run");
        QCOMPARE(m_office.run("SELECT door, badge, name, type, local_time FROM tavrel.named_punch "
                              "ORDER BY badge"),
                 "north|1001|Anna Neu|0|2026-03-24 16:00:00\n"
                 "north|1002|Unknown|0|2026-03-23 16:00:00");
        m_office.run("UPDATE tavrel.door SET last_pass = now() - interval '16 min' WHERE "
                     "door = 'south'");
        QCOMPARE(m_office.run("SELECT door FROM tavrel.silent_door ORDER BY door"),
                 "south\nwindow");
    }

    /// What sitetool says of the last pass.
    void check()
    {
        const auto expectFinding = [&](const QString &pattern) {
            const QString output = Run::start(SITETOOL, {"check", m_database->file()}).output;
            QVERIFY2(output.contains(QRegularExpression(pattern)), qPrintable(output));
        };
        const QString failed = "note: At [0-9: -]{19} the forwarding failed: Cannot reach the "
                               "office .* ";
        store(FourPunches);
        expectFinding("note: The punches are to be forwarded, but");
        expect("status", 75, "2026-03-23     3       0  waits\n", {"PGHOST=/nowhere"});
        for (int pass = 0; pass < 2; ++pass)
            start("run", {"PGHOST=/nowhere"});
        expectFinding(failed + "The office never had all punches\\.\n");
        start("run");
        const QString good = "At [0-9: -]{19} the office had all punches: 4\\.";
        expectFinding("ok: " + good + '\n');
        const QString state = m_database->folder() + "/Tavrel/" + North + ".forward";
        Run::start("touch", {"-d", "61 minutes ago", state});
        expectFinding("note: " + good + " No pass has ended within the last hour\\.\n");
        start("run", {"PGHOST=/nowhere"});
        expectFinding(failed + "It had all punches at [0-9: -]{19}\\.\n");
    }

    /// A server that stops in a transaction is left 10 s after the time limit of the statement.
    void silentServer() { expectEnd(*m_silentPass, 75, "The office has stopped answering."); }

private:
    void newFile()
    {
        m_database = std::make_unique<TestDatabase>(
            "DROP TABLE RawDataDetails; CREATE TABLE RawDataDetails (ID, PersonalID, EventStatus, "
            "DateTime, Shift, MachineNo); CREATE TABLE Forwarding (Identity TEXT NOT NULL); "
            "INSERT INTO Forwarding VALUES ('"_ba +
            North + "')");
        qputenv("XDG_STATE_HOME", m_database->folder().toUtf8());
    }

    /// Begins the pass that silentServer() waits for.
    void beginSilentPass()
    {
        newFile();
        store(FourPunches);
        m_office.run("\\c postgres\nCREATE DATABASE mute TEMPLATE office;\n\\c mute\n"
                     "UPDATE tavrel.door SET identity = '"_ba +
                     North + "' WHERE door = 'north'");
        m_silentPass = beginPass({"PGDATABASE=mute", "PGOPTIONS=-c statement_timeout=2500ms"});
        const pid_t server =
            m_office.run("SELECT pid FROM pg_stat_activity WHERE usename = 'north'").toInt();
        QVERIFY(server > 0);
        ::kill(server, SIGSTOP);
        unlock();
        m_silentFile = std::move(m_database);
    }

    /// `values`: badge, type and time of each punch.
    void store(const QByteArray &values) const
    {
        m_database->run("INSERT INTO RawDataDetails (PersonalID, EventStatus, DateTime) VALUES " +
                        values);
    }

    /// SQL that stores some punches on each of some days.
    static QByteArray fill(const char *first, int days, int punches)
    {
        return u"WITH RECURSIVE d(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM d LIMIT %2), "
               "n(j) AS (SELECT 1 UNION ALL SELECT j + 1 FROM n LIMIT %3) INSERT INTO "
               "RawDataDetails (PersonalID, EventStatus, DateTime) SELECT j, 1, "
               "date('%1', '+' || i || ' days') || ' 08:00' FROM d, n;"_s.arg(first)
                   .arg(days)
                   .arg(punches)
                   .toLatin1();
    }

    /// Makes the file one that was last changed then.
    void settle(const QDateTime &time = QDateTime::currentDateTime().addSecs(-3600)) const
    {
        const timespec times[] = {{time.toSecsSinceEpoch(), 0}, {time.toSecsSinceEpoch(), 0}};
        for (const char *suffix : {"", "-wal"})
            ::utimensat(AT_FDCWD, (m_database->file().toUtf8() + suffix).constData(), times, 0);
    }

    /// The punches that the office has and that are not withdrawn.
    QString atOffice(const QByteArray &command = {}) const
    {
        return m_office.run(command +
                            "SELECT badge, type, local_time FROM tavrel.punch WHERE withdrawn IS "
                            "NULL ORDER BY badge COLLATE \"C\", type, local_time");
    }

    /// The punches that it should have.
    QString atDoor() const
    {
        return m_database->run(
            "SELECT ifnull(PersonalID, ''), EventStatus, substr(replace(DateTime, 'T', ' ') "
            "|| ':00', 1, 19) FROM RawDataDetails WHERE EventStatus <> 2 "
            "ORDER BY CAST(PersonalID AS TEXT), 2, 3");
    }

    /// The same lines from sitetool and from psql.
    QString listAtDoor(const QString &zone, const QString &command) const
    {
        const Run run = Run::start("env", QStringList{zone, SITETOOL} + command.split(u' ') +
                                              QStringList{"--csv", "--file", m_database->file()});
        return run.output.section("\r\n", 1)
            .remove(u'\r')
            .replace(QRegularExpression(",(?! )"), "|")
            .remove(u'"')
            .trimmed();
    }

    QStringList call(const QString &command, QStringList settings) const
    {
        settings.removeAll(QString());
        return settings + QStringList{FORWARD} + command.split(u' ', Qt::SkipEmptyParts) +
               QStringList{"--file", m_database->file()};
    }

    Run start(const QString &command, const QStringList &settings = {}) const
    {
        return Run::start("env", call(command, settings));
    }

    void expect(const QString &command, int status, const QString &text,
                const QStringList &settings = {}) const
    {
        const Run run = start(command, settings);
        const QString all = run.output + run.errors;
        QVERIFY2(run.status == status && all.contains(text), qPrintable(all));
    }

    /// Begins a pass, and waits until it waits in its transaction for unlock().
    std::unique_ptr<QProcess> beginPass(QStringList settings = {})
    {
        settings.removeAll(QString());
        if (!m_lock) {
            m_lock = std::make_unique<QProcess>();
            m_lock->start(
                "env", settings + QStringList{"PGUSER=office", OfficeServer::psqlPath(), "-qAtX"});
            m_lock->write("BEGIN; LOCK TABLE tavrel.punch IN SHARE MODE; SELECT 1;\n");
            if (!m_lock->waitForReadyRead())
                qFatal("cannot lock");
        }
        const auto waiting = [&] {
            return m_office.run("SELECT count(*) FROM pg_stat_activity WHERE usename = 'north' AND "
                                "wait_event_type = 'Lock'");
        };
        const QString before = waiting();
        auto pass = std::make_unique<QProcess>();
        pass->setProcessChannelMode(QProcess::MergedChannels);
        pass->start("env", call("run", settings));
        while (waiting() == before && pass->state() != QProcess::NotRunning)
            pass->waitForFinished(10);
        return pass;
    }

    void unlock()
    {
        if (m_lock) {
            m_lock->closeWriteChannel();
            m_lock->waitForFinished();
        }
        m_lock.reset();
    }

    static void expectEnd(QProcess &pass, int status, const QString &text)
    {
        QVERIFY(pass.state() == QProcess::NotRunning || pass.waitForFinished(20'000));
        const QString all = QString::fromUtf8(pass.readAll());
        QVERIFY2(pass.exitCode() == status && all.contains(text), qPrintable(all));
    }

    OfficeServer m_office;
    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<QProcess> m_lock; ///< locks the office's punches
    std::unique_ptr<TestDatabase> m_silentFile;
    std::unique_ptr<QProcess> m_silentPass;
};

QTEST_GUILESS_MAIN(TestForward)
#include "tst_forward.moc"
