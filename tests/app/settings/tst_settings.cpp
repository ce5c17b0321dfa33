#include "app/settings/SerialDevice.h"
#include "app/settings/SettingsStore.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/failureOf.h"
#include "tests/support/statusOf.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdio>

using namespace Tavrel;

static QString get(const char *section, const char *key, const char *fallback = "-")
{
    return GetSetting("Tavrel", section, key, fallback);
}

static void save(const char *key, const QString &text)
{
    SaveSetting("Tavrel", "Punch", key, text);
}

class TestSettings : public QObject
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

    void only_writing_makes_the_folder()
    {
        QVERIFY(QDir(home.path("Tavrel")).removeRecursively());
        QCOMPARE(get("Punch", "ClockIn", "00:00:00"), "00:00:00");
        QVERIFY(!QFile::exists(home.path("Tavrel")));
        save("ClockIn", "now");
        QCOMPARE(get("Punch", "ClockIn"), "now");
    }

    void a_link_and_permissions_stay()
    {
        const QString target = home.path("elsewhere.conf");
        TemporaryHome::write(target, "[MSR]\nTrack=2\n");
        QFile::setPermissions(target, QFile::Permissions(0x6640));
        QVERIFY(QFile::link(target, home.settingsFile()));
        save("ClockIn", "now");
        QCOMPARE(QFileInfo(home.settingsFile()).symLinkTarget(), target);
        QCOMPARE(TemporaryHome::read(target), "[MSR]\nTrack=2\n\n[Punch]\nClockIn=now\n");
        QCOMPARE(QFileInfo(target).permissions(), QFile::Permissions(0x6640));
    }

    void what_cannot_be_kept_is_not_replaced_data()
    {
        Table<QByteArray, int> row("content", "permissions");
        row("not in the format", "[Other]\nx=1\nClockIn 9:00\n", 0x6666);
        row("not UTF-8", "[Other]\nx=Zo\xeb\n", 0x6666);
        row("not to be read", "[Other]\nx=1\n", 0x2222);
        row("not to be written", "[Other]\nx=1\n", 0x4444);
    }
    void what_cannot_be_kept_is_not_replaced()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, permissions);
        home.writeSettings(content);
        get("Punch", "ClockIn"); // having read the file before makes no difference
        QFile::setPermissions(home.settingsFile(), QFile::Permissions(permissions));
        for (const char *folder : {".", "Tavrel"})
            QFile::setPermissions(home.path(folder), QFile::Permissions(0x7777));
        asOrdinaryUser(
            [] { QCOMPARE(failureOf([] { save("ClockIn", "new"); }), Failure::PathFileAccess); });
        QFile::setPermissions(home.settingsFile(),
                              QFile::Permissions(0x6666)); // so that others may read it
        QCOMPARE(home.readSettings(), content);
        QCOMPARE(QDir(home.path("Tavrel")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
                 QStringList("Tavrel.conf"));
    }

    void only_a_regular_file_is_opened_data()
    {
        QTest::addColumn<QByteArray>("kind");
        for (const char *kind : {"pipe", "device", "folder"})
            QTest::newRow(kind) << QByteArray(kind);
    }
    void only_a_regular_file_is_opened()
    {
        QFETCH(QByteArray, kind);
        save("ClockIn", "old");
        QVERIFY(QFile::remove(home.settingsFile()));
        TemporaryHome::putInPlace(kind, home.settingsFile());
        QCOMPARE(get("Punch", "ClockIn"), "-");
        QCOMPARE(failureOf([] { save("ClockIn", "new"); }), Failure::PathFileAccess);
        QCOMPARE(std::remove(qPrintable(home.settingsFile())), 0);
        save("ClockIn", "again");
        QCOMPARE(get("Punch", "ClockIn"), "again");
    }

    void a_killed_write_leaves_nothing_for_good()
    {
        const QByteArray before = "[MSR]\nText=" + QByteArray(300, 'x') + "\nTrack=2\n";
        home.writeSettings(before);
        TemporaryHome::write(home.settingsFile() + ".backup", "the user's own");
        const int status = statusOf([&] {
            const rlimit noMore{static_cast<rlim_t>(before.size()), RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &noMore);
            std::signal(SIGXFSZ, SIG_DFL); // the first byte that grows the file kills the process
            save("ClockIn", "killed");
            return 0;
        });
        QVERIFY(WIFSIGNALED(status));
        const QDir folder(home.path("Tavrel"));
        QCOMPARE(folder.entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size(), 3);
        save("ClockIn", "now");
        QCOMPARE(folder.entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
                 QStringList({"Tavrel.conf", "Tavrel.conf.backup"}));
        QCOMPARE(home.readSettings(), before + "\n[Punch]\nClockIn=now\n");
    }

    void saved_is_in_the_file_and_keeps_the_rest()
    {
        home.writeSettings("[MSR]\nTrack=2\n[Other]\nx=1\n");
        save("ClockIn", "6:00:00 AM");
        QVERIFY(home.readSettings().contains("ClockIn=6:00:00 AM"));
        QCOMPARE(get("Punch", "ClockIn"), "6:00:00 AM");
        QCOMPARE(get("MSR", "Track"), "2");
        QCOMPARE(get("Other", "x"), "1");
    }

    void writes_in_quick_succession_all_count()
    {
        for (int i = 100; i < 200; ++i) {
            save("ClockIn", QString::number(i));
            save("ClockOut", QString::number(i + 300));
            QCOMPARE(get("Punch", "ClockIn").toInt(), i);
            QCOMPARE(get("Punch", "ClockOut").toInt(), i + 300);
        }
        home.writeSettings("[Punch]\nClockIn=1 from outside\n");
        QCOMPARE(get("Punch", "ClockIn"), "1 from outside");

        // Also when the computer's clock has been set back since the file was written.
        QFile file(home.settingsFile());
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QDateTime tomorrow = QDateTime::currentDateTime().addDays(1);
        file.setFileTime(tomorrow, QFile::FileModificationTime);
        file.close();
        QCOMPARE(get("Punch", "ClockIn"), "1 from outside");
        save("ClockIn", "2 from outside");
        QCOMPARE(get("Punch", "ClockIn"), "2 from outside");
        QVERIFY(QFileInfo(home.settingsFile()).lastModified() > tomorrow);
    }

    void a_failed_write_changes_nothing()
    {
        rlimit before = {};
        getrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_IGN);
        save("ClockIn", "old");
        const rlimit fullDisk{20, before.rlim_max}; // the copy fits, but no more
        setrlimit(RLIMIT_FSIZE, &fullDisk);
        const int failure = failureOf([] { save("ClockIn", "new"); });
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(failure, 75);
        QCOMPARE(get("Punch", "ClockIn"), "old");
        save("ClockOut", "later"); // and nothing of the failed write is saved with it
        QCOMPARE(get("Punch", "ClockIn"), "old");
    }

    void only_drafts_are_removed()
    {
        const QString drafts = home.settingsFile() + ".draft";
        QVERIFY(QDir().mkpath(drafts));
        home.write(drafts + "/mine", "x");
        home.write(drafts + "/7.lock", "x"); // of a write that was killed
        save("ClockIn", "1");
        QCOMPARE(QDir(drafts).entryList(QDir::Files), QStringList("mine"));
        QVERIFY(QFile::rename(drafts, home.path("elsewhere")));
        home.write(home.path("elsewhere/8"), "x");
        QVERIFY(QFile::link(home.path("elsewhere"), drafts));
        QCOMPARE(failureOf([] { save("ClockIn", "2"); }), 75);
        QVERIFY(QFile::exists(home.path("elsewhere/8")));

        // A link to a file that does not exist yet stays a link.
        QVERIFY(QFile::remove(drafts) && QFile::remove(home.settingsFile()));
        QVERIFY(QFile::link(home.path("elsewhere/conf"), home.settingsFile()));
        save("ClockIn", "3");
        QVERIFY(QFileInfo(home.settingsFile()).isSymLink());
        QCOMPARE(get("Punch", "ClockIn"), "3");
    }

    void device_of_a_port()
    {
        QCOMPARE(serialDevice(31), QStringLiteral("/dev/ttyS30"));
        const QString link = home.path(QStringLiteral("Tavrel/COM31"));
        QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), link));
        QCOMPARE(serialDevice(31), link);

        // The user's link takes precedence over the administrator's, and that over the built-in
        // port.
        const QString devices = home.path("devices");
        QVERIFY(QDir().mkpath(devices) && QFile::link("/nowhere", devices + "/COM31"));
        constexpr int NotAllowed = 77;
        const int status = statusOf([&] {
            // The folder replaces /dev, only for this process.
            if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
                mount(qPrintable(devices), "/dev", nullptr, MS_BIND, nullptr) != 0)
                return NotAllowed;
            const bool isUsers = serialDevice(31) == link;
            const bool isAdministrators =
                QFile::remove(link) && serialDevice(31) == QStringLiteral("/dev/COM31");
            return isUsers && isAdministrators ? 0 : 1;
        });
        if (status == W_EXITCODE(NotAllowed, 0))
            QSKIP("Here no process may have a /dev of its own.");
        QCOMPARE(status, 0);
    }

private:
    TemporaryHome home;
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
