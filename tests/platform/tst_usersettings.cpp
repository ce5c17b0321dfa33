#include "platform/Failure.h"
#include "platform/UserSettings.h"
#include "tests/doubles/TemporaryHome.h"

#include <QtTest>

#include <sys/resource.h>

#include <csignal>

static const QString Title = QStringLiteral("Tavrel");

static QString get(const char *section, const char *key, const char *fallback = "-")
{
    return GetSetting(Title, QString::fromLatin1(section), QString::fromLatin1(key),
                      QString::fromLatin1(fallback));
}

static void save(const char *key, const char *text)
{
    SaveSetting(Title, QStringLiteral("Punch"), QString::fromLatin1(key),
                QString::fromLatin1(text));
}

class TestUserSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(home.path(QStringLiteral("Tavrel"))).removeRecursively();
        QDir().mkpath(home.path(QStringLiteral("Tavrel")));
    }

    void fileContent_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("clockIn");
        QTest::newRow("no key") << QByteArray("[MSR]\nTrack=2\n") << "-";
        QTest::newRow("empty") << QByteArray("[Punch]\nClockIn=\n") << "";
        QTest::newRow("text") << QByteArray("[Punch]\nClockIn=9:05:00 PM\n") << "9:05:00 PM";
        QTest::newRow("list") << QByteArray("[Punch]\nClockIn=1, 5\n") << "1, 5";
        QTest::newRow("no ini") << QByteArray("\x7f"
                                              "ELF\0\1\2[[[\n=\n==ClockIn\n\xff\xfe",
                                              26)
                                << "-";
        QTest::newRow("other group") << QByteArray("ClockIn=1\n") << "-";
    }
    void fileContent()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, clockIn);
        home.writeSettings(content);
        QCOMPARE(get("Punch", "ClockIn"), clockIn);
        QCOMPARE(home.readSettings(), content);
    }

    void reading_creates_nothing()
    {
        QCOMPARE(get("Punch", "ClockIn", "00:00:00"), QStringLiteral("00:00:00"));
        QVERIFY(!QFile::exists(home.settingsFile()));
    }

    void saved_is_in_the_file_and_keeps_the_rest()
    {
        home.writeSettings("[MSR]\nTrack=2\n[Other]\nx=1\n");
        save("ClockIn", "6:00:00 AM");
        QVERIFY(home.readSettings().contains("ClockIn=6:00:00 AM"));
        QCOMPARE(get("Punch", "ClockIn"), QStringLiteral("6:00:00 AM"));
        QCOMPARE(get("MSR", "Track"), QStringLiteral("2"));
        QCOMPARE(get("Other", "x"), QStringLiteral("1"));
        QCOMPARE(QDir(home.path(QStringLiteral("Tavrel"))).entryList(QDir::Files).size(), 1);
    }

    void writes_in_quick_succession_all_count()
    {
        for (int i = 100; i < 400; ++i) {
            save("ClockIn", QByteArray::number(i).constData());
            save("ClockOut", QByteArray::number(i + 300).constData());
            QCOMPARE(get("Punch", "ClockIn").toInt(), i);
            QCOMPARE(get("Punch", "ClockOut").toInt(), i + 300);
        }
    }

    void a_change_from_outside_counts()
    {
        save("AutoSwitch", "0");
        home.writeSettings("[Punch]\nAutoSwitch=1 from outside\n");
        QCOMPARE(get("Punch", "AutoSwitch"), QStringLiteral("1 from outside"));
    }

    void a_failed_write_changes_nothing_data()
    {
        QTest::addColumn<bool>("fullDisk");
        QTest::newRow("no room on the disk") << true;
        QTest::newRow("a folder in the file's place") << false;
    }
    void a_failed_write_changes_nothing()
    {
        QFETCH(bool, fullDisk);
        rlimit before = {};
        getrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_IGN);
        if (fullDisk) {
            save("ClockIn", "old");
            const rlimit none{0, before.rlim_max};
            setrlimit(RLIMIT_FSIZE, &none);
        } else {
            QDir().mkpath(home.settingsFile() + QStringLiteral("/occupied"));
        }
        int number = 0;
        try {
            save("ClockIn", "new");
        } catch (const Failure &failure) {
            number = failure.number;
        }
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(number, 75);
        QCOMPARE(get("Punch", "ClockIn"), fullDisk ? QStringLiteral("old") : QStringLiteral("-"));

        QDir(home.settingsFile()).removeRecursively();
        save("ClockIn", "again");
        QCOMPARE(get("Punch", "ClockIn"), QStringLiteral("again"));
    }

private:
    TemporaryHome home;
};

QTEST_GUILESS_MAIN(TestUserSettings)
#include "tst_usersettings.moc"
