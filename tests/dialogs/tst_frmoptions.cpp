#include "app/settings/SettingsStore.h"
#include "dialogs/frmOptions.h"
#include "platform/text/DatesAndTimes.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"

#include <QLineEdit>

using namespace Tavrel;

/// The dialog on the screen, reached through the names of its controls.
class Dialog
{
public:
    Dialog() { form.show(); }

    template <typename Control = QWidget> Control *find(const char *name)
    {
        auto *control = dynamic_cast<Control *>(form.findChild<QWidget *>(name));
        if (!control)
            qFatal("no %s", name);
        return control;
    }

    void click(const char *name) { QTest::mouseClick(find(name), Qt::LeftButton, {}, {5, 8}); }

    /// What the seven controls show, in the order in which they are stored.
    QStringList shown()
    {
        QStringList values{QString::number(find<QCheckBox>("chkAutoSwitch")->checkState())};
        for (const char *picker : {"dtpClock(0)", "dtpClock(1)"})
            values += find<DTPicker>(picker)->Value().toString(u"HH:mm:ss");
        for (const char *list : {"cboComport", "cboBaudRate", "cboSettings", "cboTrack"})
            values += find<QComboBox>(list)->currentText();
        return values;
    }

    /// The number of enabled controls among the two times and their labels.
    int timesEnabled()
    {
        int enabled = 0;
        for (const char *name : {"Label1(0)", "Label1(1)", "dtpClock(0)", "dtpClock(1)"})
            enabled += find(name)->isEnabled();
        return enabled;
    }

    ScriptedHost host;
    QWidget owner;
    frmOptions form{host, owner};
};

static const QStringList Defaults{"0", "00:00:00", "00:00:00", "COM1", "9600", "N,8,1", "Track2"};

class TestFrmOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QFile::remove(home.settingsFile()); }

    void places_data()
    {
        Table<int, QRect, QString> row("tab", "place", "names"); // tab -1: on the dialog itself
        row("cmdCtrl(1)", -1, {200, 192, 73, 25}, "");
        row("Label1(1)", 0, {16, 104, 137, 17}, "dtpClock(1)");
        row("Label4", 1, {16, 104, 105, 17}, "cboSettings");
        row("Label5", 2, {16, 40, 89, 17}, "cboTrack");
    }
    void places()
    {
        QFETCH(int, tab);
        Dialog dialog;
        auto *strip = dialog.find<SSTab>("SSTab1");
        auto *control = dialog.find(QTest::currentDataTag());
        QCOMPARE(dialog.form.size(), QSize(280, 222));
        QCOMPARE(strip->currentIndex(), 0);
        QCOMPARE(control->isVisible(), tab <= 0);
        strip->Tab(std::max(tab, 0));
        QVERIFY(control->isVisible());
        QWidget *container = tab < 0 ? static_cast<QWidget *>(&dialog.form) : strip;
        QTEST(QRect(control->mapTo(container, QPoint(0, 0)), control->size()), "place");
        if (auto *label = qobject_cast<QLabel *>(control))
            QTEST(label->buddy()->objectName(), "names");
    }

    /// What is stored under every key except "ClockOut", what the dialog shows for it, and what OK
    /// stores.
    void loading_data()
    {
        Table<QString, QString, QStringList> row("stored", "clockOut", "shown");
        const QStringList firstTrack = QStringList(Defaults.mid(0, 6)) << "Track1";
        const QStringList times{"0", "17:30:05", "06:00:00", "COM1", "9600", "N,8,1", "Track2"};
        for (const char *nothing : {"", "letters"})
            row(nothing, nothing, nothing, firstTrack);
        for (const char *bad : {"-1", "4", "99999", "1e9", "2026-11-22", "1066-10-14 09:00:00"})
            row(bad, bad, bad, Defaults);
        row("1", "1", "1", {"2", "00:00:00", "00:00:00", "COM2", "4800", "O,7,1", "Track2"});
        row("2", "2", "2", {"1", "00:00:00", "00:00:00", "COM3", "2400", "S,7,1", "Track3"});
        row("2 tracks", "2 tracks", "", QStringList(Defaults.mid(0, 6)) << "Track3");
        row("24 hours", "17:30:05", "06:00:00", times);
        row("12 hours", "5:30:05 PM", "6:00 am", times);
        row("of Finnish and Japanese", "17.30.05", "6時00分00秒", times);
    }
    void loading()
    {
        QFETCH(QString, stored);
        QFETCH(QString, clockOut);
        for (const char *key : {"Punch/AutoSwitch", "Punch/ClockIn", "Communication/Comport",
                                "Communication/BaudRate", "Communication/Settings", "MSR/Track"})
            SaveSetting("Tavrel", QString(key).section('/', 0, 0), QString(key).section('/', 1),
                        stored);
        SaveSetting("Tavrel", "Punch", "ClockOut", clockOut);
        Dialog first;
        QTEST(first.shown(), "shown");
        QTest::keyClick(&first.form, Qt::Key_Return);
        QVERIFY(first.host.boxes.isEmpty());
        QVERIFY(first.form.IsOK() == True && !first.form.isVisible());

        // OK has repaired the store: it shows the same, and the tick reads the times it shows.
        Dialog second;
        QCOMPARE(second.shown(), first.shown());
        const auto storedTime = [](const char *key) {
            return timeText(GetSetting("Tavrel", "Punch", key, {}));
        };
        QCOMPARE(storedTime("ClockIn"), timeOfDay(QTime::fromString(first.shown()[1])));
        QCOMPARE(storedTime("ClockOut"), timeOfDay(QTime::fromString(first.shown()[2])));
    }

    void it_lacks_the_icon_of_its_owner()
    {
        Dialog dialog;
        QPixmap red(16, 16);
        red.fill(Qt::red);
        dialog.form.parentWidget()->setWindowIcon(red);
        QCOMPARE(dialog.form.windowIcon().pixmap(16).toImage().pixelColor(8, 8).alpha(), 0);
    }

    void the_check_box_enables_the_times()
    {
        Dialog empty;
        QCOMPARE(empty.shown(), Defaults);
        QVERIFY(empty.find("cmdCtrl(0)")->hasFocus() || !empty.form.isActiveWindow());
        QCOMPARE(empty.timesEnabled(), 0);

        SaveSetting("Tavrel", "Punch", "AutoSwitch", "2"); // neither on nor off
        Dialog dialog;
        QCOMPARE(dialog.timesEnabled(), 4);
        for (const bool enabled : {true, false, true}) {
            dialog.click("chkAutoSwitch");
            QCOMPARE(dialog.shown().first(), enabled ? "2" : "0");
            QCOMPARE(dialog.timesEnabled(), enabled ? 4 : 0);
        }
    }

    void a_typed_time_is_saved_for_every_format_though_disabled()
    {
        SaveSetting("Tavrel", "Punch", "AutoSwitch", "1");
        Dialog dialog;
        QTest::keyClicks(dialog.find("dtpClock(0)"), "5:30 PM");
        dialog.click("chkAutoSwitch");
        dialog.click("cmdCtrl(0)");
        QCOMPARE(GetSetting("Tavrel", "Punch", "ClockIn", {}), "17:30:00");
        QCOMPARE(GetSetting("Tavrel", "Punch", "AutoSwitch", {}), "0");
    }

    void tab_goes_all_the_way_round()
    {
        SaveSetting("Tavrel", "Punch", "AutoSwitch", "1");
        Dialog dialog;
        QVERIFY(QTest::qWaitForWindowActive(&dialog.form));
        const QStringList stops[] = {{"dtpClock(0)", "dtpClock(1)", "chkAutoSwitch"},
                                     {"cboComport", "cboBaudRate", "cboSettings"},
                                     {"cboTrack"}};
        for (int tab = 0; tab < 3; ++tab) {
            dialog.find<SSTab>("SSTab1")->Tab(tab);
            dialog.find("cmdCtrl(1)")->setFocus();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab); // the tab bar
            for (const QString &stop : stops[tab] + QStringList{"cmdCtrl(0)", "cmdCtrl(1)"}) {
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
                QCOMPARE(QApplication::focusWidget(), dialog.find(stop.toLatin1()));
            }
        }
    }

    /// Enter presses "OK" wherever the focus is, except on the other button.
    void enter_data()
    {
        Table<int, Boolean> row("tab", "isOK");
        row("chkAutoSwitch", 0, True);
        row("dtpClock(1)", 0, True);
        row("cboSettings", 1, True);
        row("cboTrack", 2, True);
        row("cmdCtrl(1)", 0, False);
    }
    void enter()
    {
        QFETCH(int, tab);
        SaveSetting("Tavrel", "Punch", "AutoSwitch", "1");
        Dialog dialog;
        QVERIFY(QTest::qWaitForWindowActive(&dialog.form));
        dialog.find<SSTab>("SSTab1")->Tab(tab);
        dialog.find(QTest::currentDataTag())->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(!dialog.form.isVisible());
        QTEST(dialog.form.IsOK(), "isOK");
    }

    void cancelling_writes_nothing()
    {
        const QByteArray before("[MSR]\nTrack=0\n; as it was\n");
        home.writeSettings(before);
        const std::function<void(Dialog &)> ways[] = {
            [](Dialog &dialog) { QTest::keyClick(&dialog.form, Qt::Key_Escape); },
            [](Dialog &dialog) { dialog.click("cmdCtrl(1)"); },
            [](Dialog &dialog) { dialog.form.close(); },
        };
        for (const auto &way : ways) {
            Dialog dialog;
            dialog.find<QComboBox>("cboTrack")->setCurrentIndex(2);
            way(dialog);
            QVERIFY(!dialog.form.isVisible());
            QCOMPARE(dialog.form.IsOK(), False);
            QCOMPARE(home.readSettings(), before);
        }
    }

    void a_failed_write_leaves_the_dialog_open()
    {
        QDir().mkpath(home.settingsFile() + "/occupied");
        Dialog dialog;
        dialog.find<QComboBox>("cboTrack")->setCurrentIndex(2);
        dialog.click("cmdCtrl(0)");
        QCOMPARE(dialog.host.boxes,
                 QStringList("75: Path/File access error: " + home.settingsFile()));
        QVERIFY(dialog.form.isVisible());
        QCOMPARE(dialog.form.IsOK(), False);
        QCOMPARE(dialog.shown().last(), "Track3");

        QDir(home.settingsFile()).removeRecursively();
        dialog.click("cmdCtrl(0)");
        QVERIFY(!dialog.form.isVisible());
        QCOMPARE(GetSetting("Tavrel", "MSR", "Track", {}), "2");
    }

private:
    TemporaryHome home;
};

QTEST_MAIN(TestFrmOptions)
#include "tst_frmoptions.moc"
