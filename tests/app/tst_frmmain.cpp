#include "app/App.h"
#include "app/Initial.h"
#include "app/Settings.h"
#include "app/frmMain.h"
#include "platform/EventLoopHost.h"
#include "platform/RegionalFormat.h"
#include "tests/doubles/ScriptedHost.h"
#include "tests/doubles/TemporaryHome.h"
#include "tests/doubles/TestDatabase.h"
#include "tools/VirtualReader.h"

#include <QComboBox>
#include <QtTest>

/// The real passing of time and events, with the time of day and the ends in the test's hands.
class BenchHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void DoEvents() override
    {
        ++passes;
        EventLoopHost::DoEvents();
        if (insidePoll)
            insidePoll();
    }
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override
    {
        boxes.append({text, title, icon});
        if (onBox)
            onBox();
    }
    QDateTime Now() override { return now; }
    void End() override { ++ended; }

    QDateTime now{QDate(2026, 3, 9), QTime(9, 5, 7)};
    QList<ScriptedHost::Box> boxes;
    std::function<void()> insidePoll;
    std::function<void()> onBox;
    int passes = 0;
    int ended = 0;
};

/// A clock on a database and a reader of its own.
struct Bench {
    explicit Bench(const TemporaryHome &home, const QByteArray &settings = {})
        : reader(std::make_unique<VirtualReader>())
    {
        home.writeSettings(settings);
        reader->linkAt(home.path(QStringLiteral("Tavrel/COM1")));
        environment.conOV.ConnectionString(database.connectionString());
        window = std::make_unique<frmMain>(host, environment);
        window->Show();
    }

    static QWidget *topLevel(const char *name)
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QLatin1String(name) && widget->isVisible())
                return widget;
        }
        return nullptr;
    }
    static QWidget *dialog() { return topLevel("frmPunchInformation"); }
    static QString shown(const char *box)
    {
        return dialog()->findChild<QLineEdit *>(QLatin1String(box))->text();
    }

    /// The clock's six digits, as the images in front tell them.
    QString digits() const
    {
        QString text;
        for (int k = 0; k < 6; ++k) {
            const QObjectList &stack = window->face.img(k * 10)->parent()->children();
            text += stack.back()->objectName().section(u'(', 1).chopped(1).right(1);
        }
        return text;
    }

    QString stored(const char *columns = "PersonalID || ',' || EventStatus") const
    {
        return database.run(QByteArray("SELECT ") + columns + " FROM RawDataDetails");
    }

    BenchHost host;
    TestDatabase database;
    DataEnvironment environment;
    std::unique_ptr<VirtualReader> reader;
    std::unique_ptr<frmMain> window;
};

class TestFrmMain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void connectionString_data()
    {
        QTest::addColumn<QString>("folder");
        for (const char *folder : {"/opt/tavrel", "/", "C:\\", "/a;b"})
            QTest::newRow(folder) << QString::fromLatin1(folder);
    }
    void connectionString()
    {
        QFETCH(QString, folder);
        QCOMPARE(Initial::connectionString(folder),
                 "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder +
                     "\\Orvanta.mdb;Persist Security Info=False");
    }

    void one_instance_at_a_time()
    {
        // A start that knows of another run-time folder, or of none, meets the first one too.
        const QByteArrayList folders{home.path(QStringLiteral(".")).toUtf8(), "", "/nowhere"};
        for (const QByteArray &mine : folders) {
            qputenv("XDG_RUNTIME_DIR", mine);
            auto first = std::make_unique<App::InstanceLock>();
            QVERIFY(!first->PrevInstance());
            for (const QByteArray &theirs : folders) {
                qputenv("XDG_RUNTIME_DIR", theirs);
                QVERIFY(App::InstanceLock().PrevInstance());
            }
            first.reset();
            QVERIFY(!App::InstanceLock().PrevInstance());
        }
    }

    void first_picture_and_first_tick()
    {
        Bench t(home);
        QCOMPARE(t.window->windowTitle(), QStringLiteral("Tavrel v1.0R2"));
        QCOMPARE(t.window->size(), QSize(615, 228));
        QCOMPARE(t.digits(), QStringLiteral("999999"));
        QVERIFY(t.window->face.txtDate->Text().isEmpty());
        QTRY_COMPARE(t.digits(), QStringLiteral("090507"));
        QCOMPARE(t.window->face.txtDate->Text(), QStringLiteral("Monday, 9 March 2026"));
        t.host.now = QDateTime(QDate(2026, 3, 10), QTime(0, 0, 0));
        QTRY_COMPARE(t.digits(), QStringLiteral("000000"));
        QTRY_COMPARE(t.window->face.txtDate->Text(), QStringLiteral("Tuesday, 10 March 2026"));
        QVERIFY(!Bench::dialog());
    }

    void a_swipe_becomes_a_punch()
    {
        Bench t(home);
        QTRY_VERIFY(t.host.passes > 0);
        t.reader->send("\2%X?;1001?\3");
        QTRY_COMPARE(t.stored("*"), QStringLiteral("0|1001|1|2026-03-09 09:05:07|0|0"));
        QCOMPARE(Bench::shown("txtEmployee"), QStringLiteral("Mara Lindqvist"));
        QCOMPARE(Bench::shown("txtBadgeNumber"), QStringLiteral("1001"));
        QCOMPARE(Bench::shown("txtPunchType"), QStringLiteral("Clock In"));
        QCOMPARE(Bench::shown("txtDateTime"), formatDateTime(t.host.now));

        // Another one, with the window still open: the texts change in place.
        const QWidget *first = Bench::dialog();
        QTest::mouseClick(t.window->face.optEvent(1), Qt::LeftButton);
        t.reader->send("\2;4711" + QByteArray(60, '0') + "?\3");
        QTRY_COMPARE(t.stored().section(u'\n', 1), "4711" + QString(46, u'0') + ",0");
        QCOMPARE(Bench::dialog(), first);
        QCOMPARE(Bench::shown("txtEmployee"), QStringLiteral("Unknown"));
        QCOMPARE(Bench::shown("txtBadgeNumber"), "4711" + QString(60, u'0'));
        QCOMPARE(Bench::shown("txtPunchType"), QStringLiteral("Clock Out"));
        QCOMPARE(t.database.run("SELECT ID, RecordCount FROM RawData"), QStringLiteral("0|2"));

        // Closed, by any of its ways, it comes anew with the next swipe.
        QTest::keyClick(Bench::dialog(), Qt::Key_Escape);
        QVERIFY(!Bench::dialog());
        t.reader->send("\2%X?\3");
        QTRY_VERIFY(Bench::dialog());
        QCOMPARE(Bench::shown("txtBadgeNumber"), QString());
        QVERIFY(t.host.boxes.isEmpty());
    }

    void tracks_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QString>("badge");   ///< "-" for no punch
        QTest::addColumn<QString>("message"); ///< of the box that comes, "" for none
        const auto row = [](const char *name, const char *track, const char *frame,
                            const char *badge, const char *message = "") {
            QTest::newRow(name) << "[MSR]\nTrack=" + QByteArray(track) + "\n"
                                << QByteArray(frame) << QString::fromLatin1(badge)
                                << QString::fromLatin1(message);
        };
        row("first", "0", "\2%A?;1?+2?\3", "A");
        row("third", "2", "\2%A?;1?+2?\3", "2");
        row("garbage", "x", "\2%A?;1?+2?\3", "A");
        row("absent track", "1", "\2%A?\3", "");
        row("no STX", "1", "x\3", "");
        row("reader refused", "1", "\2\x15\3", "-");
        row("no such track", "3", "\2;1?\3", "-", "Subscript out of range");
        row("negative", "-1", "\2;1?\3", "-", "Subscript out of range");
        row("too large", "99999", "", "-", "Overflow");
    }
    void tracks()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QByteArray, frame);
        QFETCH(QString, badge);
        QFETCH(QString, message);
        Bench t(home, settings);
        QTRY_COMPARE(t.digits(), QStringLiteral("090507"));
        t.reader->send(frame);
        if (badge != QLatin1String("-")) {
            QTRY_COMPARE(t.stored(), badge + ",1");
            QVERIFY(t.host.boxes.isEmpty());
        } else {
            // Idle polls are about twenty passes long: the one that took the frame is over then.
            const int passes = t.host.passes;
            QTRY_VERIFY(message.isEmpty() ? t.host.passes > passes + 80 : !t.host.boxes.isEmpty());
            for (const auto &box : t.host.boxes)
                QCOMPARE(box, ScriptedHost::Box({message, "Tavrel", MsgBoxIcon::None}));
            QCOMPARE(t.host.boxes.isEmpty(), message.isEmpty());
            QVERIFY(t.stored().isEmpty());
            QVERIFY(!Bench::dialog());
        }
    }

    /// A poll that does not end, as under a dialog or a message box: the clock goes on, and
    /// nothing reads the line.
    void ticks_inside_a_poll_do_not_poll()
    {
        Bench t(home);
        bool entered = false;
        t.host.insidePoll = [&] {
            if (entered)
                return;
            entered = true;
            t.host.now = QDateTime(QDate(2026, 3, 9), QTime(11, 22, 33));
            QTRY_COMPARE(t.digits(), QStringLiteral("112233"));
            t.host.now = QDateTime(QDate(2026, 3, 10), QTime(23, 59, 58));
            QTRY_COMPARE(t.digits(), QStringLiteral("235958"));
            QVERIFY(t.window->face.txtDate->Text().startsWith(QStringLiteral("Tuesday")));
        };
        QTRY_COMPARE(t.digits(), QStringLiteral("235958"));
        QVERIFY(t.stored().isEmpty());
        QVERIFY(!Bench::dialog());

        // The same under the message box of a punch that cannot be stored.
        t.database.run("DROP TABLE RawData");
        t.host.onBox = [&] {
            t.host.now = QDateTime(QDate(2026, 3, 9), QTime(12, 34, 56));
            QTRY_COMPARE(t.digits(), QStringLiteral("123456"));
        };
        t.reader->send("\2;1?\3");
        QTRY_COMPARE(t.host.boxes.size(), 1);
        QCOMPARE(t.host.boxes[0].text, QStringLiteral("no such table: RawData"));
        QCOMPARE(t.host.boxes[0].title, QStringLiteral("1"));
        QCOMPARE(t.digits(), QStringLiteral("123456"));
        QCOMPARE(Bench::shown("txtBadgeNumber"), QStringLiteral("1"));
    }

    void the_punch_type_follows_the_day()
    {
        Bench t(home, "[Punch]\nAutoSwitch=1\nClockIn=06:00:00\nClockOut=12:00:00\n");
        OptionButton *in = t.window->face.optEvent(0);
        OptionButton *out = t.window->face.optEvent(1);
        const auto turnTo = [&](int hour, int minute, int second) {
            t.host.now = QDateTime(QDate(2026, 3, 9), QTime(hour, minute, second));
        };
        QVERIFY(QTest::qWaitForWindowActive(t.window.get()));
        QTRY_COMPARE(t.digits(), QStringLiteral("090507"));
        QVERIFY(in->Value());
        QVERIFY(out->font().bold()); // nothing was set: it is selected already
        QVERIFY(!t.window->face.txtDate->hasFocus());

        turnTo(12, 0, 0);
        QTRY_VERIFY(out->Value());
        QVERIFY(!in->font().bold() && t.window->face.txtDate->hasFocus());

        // A choice by hand does not last.
        QTest::mouseClick(in, Qt::LeftButton);
        QVERIFY(in->Value());
        QTRY_VERIFY(out->Value());

        // Times that cannot be read leave the selection alone, and the clock goes on.
        home.writeSettings("[Punch]\nAutoSwitch=1\nClockIn=never\nClockOut=12:00:00\n");
        turnTo(6, 0, 0);
        QTRY_COMPARE(t.digits(), QStringLiteral("060000"));
        QVERIFY(out->Value());

        // A change of the settings counts from the next tick.
        home.writeSettings("[Punch]\nAutoSwitch=1\nClockIn=6:00:00 AM\nClockOut=12:00:00\n");
        QTRY_VERIFY(in->Value());
        home.writeSettings("[Punch]\nAutoSwitch=2\nClockIn=12:00:00\nClockOut=06:00:00\n");
        turnTo(7, 0, 0);
        QTRY_COMPARE(t.digits(), QStringLiteral("070000"));
        QVERIFY(in->Value());
        QVERIFY(t.host.boxes.isEmpty());
    }

    /// Swipes while the Options dialog is up, opened inside a reader wait, as most clicks do, or
    /// between two ticks.
    void swipes_behind_the_options_data()
    {
        QTest::addColumn<bool>("insideWait");
        QTest::newRow("inside a wait") << true;
        QTest::newRow("between two ticks") << false;
    }
    void swipes_behind_the_options()
    {
        QFETCH(bool, insideWait);
        VirtualReader other;
        other.linkAt(home.path(QStringLiteral("Tavrel/COM2")));
        Bench t(home, "[Communication]\nComport=0\n");
        const auto open = [&] { QTest::mouseClick(t.window->face.cmdCtrl(0), Qt::LeftButton); };
        bool wasClosed = false;

        // Works the dialog while it is up: ticks go on; then another port is chosen, with OK.
        QTimer user;
        int steps = 0;
        QObject::connect(&user, &QTimer::timeout, [&] {
            QWidget *options = Bench::topLevel("frmOptions");
            if (!options)
                return;
            if (steps == 0) {
                t.host.now = QDateTime(QDate(2026, 3, 9), QTime(11, 22, 33));
                t.reader->send("\2;1001?\3");
                steps = 1;
            } else if (steps == 1 && t.digits() == QLatin1String("112233") &&
                       (insideWait || !t.stored().isEmpty())) {
                options->findChild<QComboBox *>("cboComport")->setCurrentIndex(1);
                QTest::keyClick(options, Qt::Key_Return);
                wasClosed = true;
            }
        });
        user.start(5);

        if (insideWait) {
            t.host.insidePoll = [&] {
                t.host.insidePoll = {};
                open();
            };
            QTRY_VERIFY(wasClosed);
        } else {
            open();
            QVERIFY(wasClosed);
        }
        QCOMPARE(t.stored(), insideWait ? QString() : QStringLiteral("1001,1"));
        QVERIFY(t.host.boxes.isEmpty());

        // The swipes come from the newly chosen port, and no longer from the old one.
        t.reader->send("\2;1002?\3");
        const int passes = t.host.passes;
        QTRY_VERIFY(t.host.passes > passes);
        other.send("\2;1003?\3");
        QTRY_COMPARE(t.stored().section(u'\n', -1), QStringLiteral("1003,1"));
        QVERIFY(!t.stored().contains(QStringLiteral("1002")));
    }

    void a_port_that_cannot_be_used_data()
    {
        QTest::addColumn<QByteArray>("settings");
        for (const char *bad : {"Comport=2", "Comport=32767", "Comport=99999", "Comport=-1",
                                "BaudRate=3", "BaudRate=1e9", "Settings=-1", "Settings=99999"})
            QTest::newRow(bad) << QByteArray("[Communication]\n") + bad + "\n";
        QTest::newRow("pulled out") << QByteArray();
    }
    void a_port_that_cannot_be_used()
    {
        QFETCH(QByteArray, settings);
        QVERIFY(QFile::link(QStringLiteral("/nowhere"), home.path(QStringLiteral("Tavrel/COM3"))));
        Bench t(home, settings);
        if (settings.isEmpty()) {
            QTRY_VERIFY(t.host.passes > 0);
            t.reader->send("\2;10");
            t.reader.reset();
        }
        QTRY_COMPARE(t.digits(), QStringLiteral("090507"));
        t.host.now = QDateTime(QDate(2026, 3, 9), QTime(12, 34, 56));
        QTRY_COMPARE(t.digits(), QStringLiteral("123456"));
        QVERIFY(t.host.boxes.isEmpty());
        QVERIFY(t.stored().isEmpty());
        QVERIFY(QFile::remove(home.path(QStringLiteral("Tavrel/COM3"))));
    }

    void ways_out_data()
    {
        QTest::addColumn<bool>("closeBox");
        QTest::newRow("close box") << true;
        QTest::newRow("Exit") << false;
    }
    void ways_out()
    {
        QFETCH(bool, closeBox);
        Bench t(home);
        QTRY_VERIFY(t.host.passes > 0);
        t.reader->send("\2;1?\3");
        QTRY_VERIFY(Bench::dialog());
        if (closeBox)
            t.window->close();
        else
            QTest::mouseClick(t.window->face.cmdCtrl(1), Qt::LeftButton);
        QCOMPARE(t.host.ended, 1);
        QVERIFY(!Bench::dialog());
    }

private:
    TemporaryHome home;
};

QTEST_MAIN(TestFrmMain)
#include "tst_frmmain.moc"
