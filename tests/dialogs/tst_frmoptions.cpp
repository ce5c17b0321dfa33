#include "dialogs/frmOptions.h"
#include "platform/RegionalFormat.h"
#include "platform/UserSettings.h"
#include "tests/doubles/ScriptedHost.h"
#include "tests/doubles/TemporaryHome.h"

#include <QtTest>

/// The dialog on the screen, reached through the names of its controls.
class Dialog
{
public:
    Dialog() { form.show(); }

    template <typename Control = QWidget> Control *find(const char *name)
    {
        auto *control = form.findChild<Control *>(QString::fromLatin1(name));
        if (!control)
            qFatal("no %s", name);
        return control;
    }

    /// What the seven controls show, in the order in which they are stored.
    QStringList shown()
    {
        QStringList values{QString::number(find<QCheckBox>("chkAutoSwitch")->checkState())};
        for (const char *picker : {"dtpClock(0)", "dtpClock(1)"})
            values += find<QTimeEdit>(picker)->time().toString(u"HH:mm:ss");
        for (const char *list : {"cboComport", "cboBaudRate", "cboSettings", "cboTrack"})
            values += find<QComboBox>(list)->currentText();
        return values;
    }

    ScriptedHost host;
    frmOptions form{host};
};

static const QStringList Defaults{"0", "00:00:00", "00:00:00", "COM1", "9600", "N,8,1", "Track2"};

class TestFrmOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(home.settingsFile()).removeRecursively();
        QFile::remove(home.settingsFile());
    }

    void places_data()
    {
        QTest::addColumn<int>("tab"); ///< -1 for what stands on the dialog itself
        QTest::addColumn<QRect>("place");
        const auto row = [](const char *name, int tab, int x, int y, int width, int height) {
            QTest::newRow(name) << tab << QRect(x, y, width, height);
        };
        row("cmdCtrl(0)", -1, 120, 192, 73, 25);
        row("cmdCtrl(1)", -1, 200, 192, 73, 25);
        row("SSTab1", -1, 8, 8, 265, 177);
        row("chkAutoSwitch", 0, 16, 40, 129, 17);
        row("Label1(0)", 0, 16, 72, 121, 17);
        row("dtpClock(0)", 0, 152, 72, 97, 17);
        row("Label1(1)", 0, 16, 104, 137, 17);
        row("dtpClock(1)", 0, 152, 104, 97, 17);
        row("Label2", 1, 16, 40, 121, 17);
        row("cboComport", 1, 136, 40, 97, 21);
        row("Label3", 1, 16, 72, 105, 17);
        row("cboBaudRate", 1, 136, 72, 97, 21);
        row("Label4", 1, 16, 104, 105, 17);
        row("cboSettings", 1, 136, 104, 97, 21);
        row("Label5", 2, 16, 40, 89, 17);
        row("cboTrack", 2, 104, 40, 97, 21);
    }
    void places()
    {
        QFETCH(int, tab);
        Dialog dialog;
        auto *strip = dialog.find<SSTab>("SSTab1");
        auto *control = dialog.find(QTest::currentDataTag());
        QCOMPARE(dialog.form.size(), QSize(280, 222));
        QCOMPARE(strip->Tab(), 0);
        QCOMPARE(control->isVisible(), tab <= 0);
        strip->Tab(std::max(tab, 0));
        QVERIFY(control->isVisible());
        QWidget *container = tab < 0 ? static_cast<QWidget *>(&dialog.form) : strip;
        QTEST(QRect(control->mapTo(container, QPoint(0, 0)), control->size()), "place");
    }

    /// What is stored under every key, what the dialog shows of it, and what OK stores.
    void loading_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("shown");
        const auto row = [](const char *stored, const QStringList &shown) {
            QTest::newRow(stored) << QString::fromLatin1(stored) << shown;
        };
        const QStringList firstTrack = QStringList(Defaults.mid(0, 6)) << "Track1";
        row("", firstTrack);
        row("letters", firstTrack);
        row("-1", Defaults);
        row("4", Defaults);
        row("99999", Defaults);
        row("1e9", Defaults);
        row("1", {"2", "00:00:00", "00:00:00", "COM2", "4800", "O,7,1", "Track2"});
        row("2", {"1", "00:00:00", "00:00:00", "COM3", "2400", "S,7,1", "Track3"});
        row("2 tracks", QStringList(Defaults.mid(0, 6)) << "Track3");
        row("17:30:05", {"0", "17:30:05", "17:30:05", "COM1", "9600", "N,8,1", "Track2"});
        row("5:30:05 PM", {"0", "17:30:05", "17:30:05", "COM1", "9600", "N,8,1", "Track2"});
        row("2026-11-22", Defaults);
        row("1066-10-14 09:00:00", Defaults);
    }
    void loading()
    {
        QFETCH(QString, stored);
        for (const auto &[section, key] : keys)
            SaveSetting("Tavrel", section, key, stored);
        Dialog first;
        QTEST(first.shown(), "shown");
        QTest::keyClick(&first.form, Qt::Key_Return);
        QVERIFY(first.host.boxes.isEmpty());
        QVERIFY(first.form.IsOK() == True && !first.form.isVisible());

        // OK has repaired the store: it shows the same, and the tick reads the times it shows.
        Dialog second;
        QCOMPARE(second.shown(), first.shown());
        for (const char *key : {"ClockIn", "ClockOut"})
            QCOMPARE(timeText(GetSetting("Tavrel", "Punch", key, {})),
                     timeOfDay(QTime::fromString(first.shown()[1], u"HH:mm:ss")));
    }

    void an_empty_store_opens_with_the_defaults()
    {
        Dialog dialog;
        QCOMPARE(dialog.shown(), Defaults);
        QVERIFY(dialog.find("cmdCtrl(0)")->hasFocus() || !dialog.form.isActiveWindow());
        for (const char *name : {"Label1(0)", "Label1(1)", "dtpClock(0)", "dtpClock(1)"})
            QVERIFY(!dialog.find(name)->isEnabled());
    }

    void the_check_box_enables_the_times()
    {
        SaveSetting("Tavrel", "Punch", "AutoSwitch", "2"); // neither on nor off
        Dialog dialog;
        auto *box = dialog.find<QCheckBox>("chkAutoSwitch");
        QVERIFY(dialog.find("dtpClock(0)")->isEnabled());
        for (const bool enabled : {true, false, true}) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(5, box->height() / 2));
            QCOMPARE(box->checkState(), enabled ? Qt::Checked : Qt::Unchecked);
            for (const char *name : {"Label1(0)", "Label1(1)", "dtpClock(0)", "dtpClock(1)"})
                QCOMPARE(dialog.find(name)->isEnabled(), enabled);
        }
    }

    void times_are_typed_and_spun_and_saved_though_disabled()
    {
        SaveSetting("Tavrel", "Punch", "AutoSwitch", "1");
        Dialog dialog;
        auto *picker = dialog.find<QTimeEdit>("dtpClock(0)");
        picker->setSelectedSection(QDateTimeEdit::HourSection);
        QTest::keyClicks(picker, QStringLiteral("17"));
        picker->setSelectedSection(QDateTimeEdit::SecondSection);
        QTest::keyClick(picker, Qt::Key_Down); // wraps round
        auto *box = dialog.find<QCheckBox>("chkAutoSwitch");
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(5, box->height() / 2));
        QTest::mouseClick(dialog.find("cmdCtrl(0)"), Qt::LeftButton);
        QCOMPARE(timeText(GetSetting("Tavrel", "Punch", "ClockIn", {})),
                 timeOfDay(QTime(17, 0, 59)));
        QCOMPARE(GetSetting("Tavrel", "Punch", "AutoSwitch", {}), QStringLiteral("0"));
    }

    void cancelling_writes_nothing_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("Esc") << 0;
        QTest::newRow("Cancel") << 1;
        QTest::newRow("close box") << 2;
    }
    void cancelling_writes_nothing()
    {
        QFETCH(int, way);
        home.writeSettings("[MSR]\nTrack=0\n; as it was\n");
        const QByteArray before = home.readSettings();
        Dialog dialog;
        dialog.find<QComboBox>("cboTrack")->setCurrentIndex(2);
        if (way == 0)
            QTest::keyClick(&dialog.form, Qt::Key_Escape);
        else if (way == 1)
            QTest::mouseClick(dialog.find("cmdCtrl(1)"), Qt::LeftButton);
        else
            dialog.form.close();
        QVERIFY(!dialog.form.isVisible());
        QCOMPARE(dialog.form.IsOK(), False);
        QCOMPARE(home.readSettings(), before);
    }

    void a_failed_write_leaves_the_dialog_open()
    {
        QDir().mkpath(home.settingsFile() + QStringLiteral("/occupied"));
        Dialog dialog;
        dialog.find<QComboBox>("cboTrack")->setCurrentIndex(2);
        QTest::mouseClick(dialog.find("cmdCtrl(0)"), Qt::LeftButton);
        QCOMPARE(dialog.host.boxes,
                 {ScriptedHost::Box({"Path/File access error", "75", MsgBoxIcon::None})});
        QVERIFY(dialog.form.isVisible());
        QCOMPARE(dialog.form.IsOK(), False);
        QCOMPARE(dialog.shown().last(), QStringLiteral("Track3"));

        QDir(home.settingsFile()).removeRecursively();
        QTest::mouseClick(dialog.find("cmdCtrl(0)"), Qt::LeftButton);
        QVERIFY(!dialog.form.isVisible());
        QCOMPARE(GetSetting("Tavrel", "MSR", "Track", {}), QStringLiteral("2"));
    }

private:
    const QList<std::pair<QString, QString>> keys{{"Punch", "AutoSwitch"},
                                                  {"Punch", "ClockIn"},
                                                  {"Punch", "ClockOut"},
                                                  {"Communication", "Comport"},
                                                  {"Communication", "BaudRate"},
                                                  {"Communication", "Settings"},
                                                  {"MSR", "Track"}};
    TemporaryHome home;
};

QTEST_MAIN(TestFrmOptions)
#include "tst_frmoptions.moc"
