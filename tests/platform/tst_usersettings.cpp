#include "platform/UserSettings.h"
#include "tests/doubles/Table.h"
#include "tests/doubles/TemporaryHome.h"
#include "tests/doubles/failureOf.h"

#include <sys/resource.h>

#include <csignal>

static QString get(const char *section, const char *key, const char *fallback = "-")
{
    return GetSetting("Tavrel", section, key, fallback);
}

static void save(const char *key, const QString &text)
{
    SaveSetting("Tavrel", "Punch", key, text);
}

class TestUserSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(home.path("Tavrel")).removeRecursively();
        QDir().mkpath(home.path("Tavrel"));
    }

    void fileContent_data()
    {
        Table<QByteArray, QString> row("content", "clockIn");
        row("no key", "[MSR]\nTrack=2\n", "-");
        row("empty", "[Punch]\nClockIn=\n", "");
        row("text", "[Punch]\nClockIn=9:05:00 PM\n", "9:05:00 PM");
        row("list", "[Punch]\nClockIn=1, 5\n", "1, 5");
        row("no ini",
            QByteArray("\x7f"
                       "ELF\0\1\2[[[\n=\n==ClockIn\n\xff\xfe",
                       26),
            "-");
        row("other group", "ClockIn=1\n", "-");
    }
    void fileContent()
    {
        QFETCH(QByteArray, content);
        home.writeSettings(content);
        QTEST(get("Punch", "ClockIn"), "clockIn");
        QCOMPARE(home.readSettings(), content);
    }

    void reading_creates_nothing()
    {
        QCOMPARE(get("Punch", "ClockIn", "00:00:00"), "00:00:00");
        QVERIFY(!QFile::exists(home.settingsFile()));
    }

    void saved_is_in_the_file_and_keeps_the_rest()
    {
        home.writeSettings("[MSR]\nTrack=2\n[Other]\nx=1\n");
        save("ClockIn", "6:00:00 AM");
        QVERIFY(home.readSettings().contains("ClockIn=6:00:00 AM"));
        QCOMPARE(get("Punch", "ClockIn"), "6:00:00 AM");
        QCOMPARE(get("MSR", "Track"), "2");
        QCOMPARE(get("Other", "x"), "1");
        QCOMPARE(QDir(home.path("Tavrel")).entryList(QDir::Files).size(), 1);
    }

    void writes_in_quick_succession_all_count()
    {
        for (int i = 100; i < 400; ++i) {
            save("ClockIn", QString::number(i));
            save("ClockOut", QString::number(i + 300));
            QCOMPARE(get("Punch", "ClockIn").toInt(), i);
            QCOMPARE(get("Punch", "ClockOut").toInt(), i + 300);
        }
        home.writeSettings("[Punch]\nClockIn=1 from outside\n");
        QCOMPARE(get("Punch", "ClockIn"), "1 from outside");
    }

    void a_failed_write_changes_nothing()
    {
        rlimit before = {};
        getrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_IGN);
        save("ClockIn", "old");
        const rlimit fullDisk{0, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &fullDisk);
        const int failure = failureOf([] { save("ClockIn", "new"); });
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(failure, 75);
        QCOMPARE(get("Punch", "ClockIn"), "old");

        QFile::remove(home.settingsFile());
        QDir().mkpath(home.settingsFile() + "/occupied");
        QCOMPARE(failureOf([] { save("ClockIn", "new"); }), 75);
        QCOMPARE(get("Punch", "ClockIn"), "-");
        QDir(home.settingsFile()).removeRecursively();
        save("ClockIn", "again");
        QCOMPARE(get("Punch", "ClockIn"), "again");
    }

private:
    TemporaryHome home;
};

QTEST_GUILESS_MAIN(TestUserSettings)
#include "tst_usersettings.moc"
