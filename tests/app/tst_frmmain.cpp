#include "app/App.h"
#include "app/frmMain.h"
#include "platform/host/EventLoopHost.h"
#include "platform/serial/TermiosComm.h"
#include "platform/text/DatesAndTimes.h"
#include "platform/windows/DesktopHost.h"
#include "tests/support/PaintCounter.h"
#include "tests/support/RecordingHost.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestDatabase.h"
#include "tests/support/statusOf.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QComboBox>
#include <QMessageBox>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

using namespace Tavrel;

/// Real time and events.
class BenchHost : public RecordingHost<EventLoopHost>
{
public:
    void DoEvents(std::int32_t longestWait) override
    {
        EventLoopHost::DoEvents(longestWait);
        countPass();
    }
    void turnTo(int day, int hour, int minute, int second)
    {
        now = QDateTime(QDate(2026, 3, day), QTime(hour, minute, second));
    }
};

/// A clock with its own database and reader.
struct Bench {
    explicit Bench(const TemporaryHome &home, const QByteArray &settings = {})
    {
        home.writeSettings(settings);
        reader->linkAt(home.path("Tavrel/COM1"));
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

    /// What the punch dialog's boxes show, from top to bottom.
    static QStringList shown()
    {
        QStringList texts;
        for (const char *box : {"txtEmployee", "txtBadgeNumber", "txtPunchType", "txtDateTime"})
            texts += dialog()->findChild<QLineEdit *>(box)->text();
        return texts;
    }

    /// The clock's six digits, as the images in front show them.
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

    void click(QWidget *control) { QTest::mouseClick(control, Qt::LeftButton); }

    BenchHost host;
    TestDatabase database;
    DataEnvironment environment;
    std::unique_ptr<VirtualReader> reader = std::make_unique<VirtualReader>();
    std::unique_ptr<frmMain> window;
};

class TestFrmMain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void one_instance_at_a_time()
    {
        // A start with a different run-time folder, or none, finds the first one too.
        const QByteArrayList folders{home.path(".").toUtf8(), "", "/nowhere"};
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

        // So does one with a different settings folder, through the run-time folder.
        qputenv("XDG_RUNTIME_DIR", home.path(".").toUtf8());
        const App::InstanceLock first;
        const TemporaryHome elsewhere;
        const bool meets = App::InstanceLock().PrevInstance();

        // The very first start makes the settings folder in which the next one finds it.
        qputenv("XDG_CONFIG_HOME", elsewhere.path("new").toUtf8());
        qunsetenv("XDG_RUNTIME_DIR");
        const App::InstanceLock veryFirst;
        const bool meetsVeryFirst = App::InstanceLock().PrevInstance();
        qputenv("XDG_CONFIG_HOME", home.path(".").toUtf8());
        QVERIFY(meets && !veryFirst.PrevInstance() && meetsVeryFirst);
    }

    /// Many starts at once, some of them without a run-time folder.
    void of_many_starts_at_once_one_lives()
    {
        constexpr int Starts = 12;
        qputenv("XDG_RUNTIME_DIR", home.path(".").toUtf8());
        for (int round = 0; round < 100; ++round) {
            int barrier[2] = {};
            int answers[2] = {};
            QVERIFY(pipe(barrier) == 0 && pipe(answers) == 0);
            std::vector<pid_t> starts;
            for (int i = 0; i < Starts; ++i) {
                starts.push_back(fork());
                if (starts.back() == 0)
                    start(barrier, answers, i % 3 != 0);
            }
            close(barrier[0]);
            close(barrier[1]); // opens the barrier
            close(answers[1]);
            QByteArray given(Starts + 1, '-');
            qsizetype count = 0;
            for (ssize_t more = 1; more > 0; count += more)
                more = read(answers[0], given.data() + count, given.size() - count);
            close(answers[0]);
            for (const pid_t process : starts) {
                kill(process, SIGKILL);
                waitpid(process, nullptr, 0);
            }
            QCOMPARE(count, Starts);
            QCOMPARE(given.count('+'), 1);
        }
    }

    void first_picture_and_first_tick()
    {
        Bench t(home);
        QCOMPARE(t.window->windowTitle(), "Tavrel v1.0R2");
        QCOMPARE(t.window->size(), QSize(615, 228));
        QCOMPARE(t.window->frameGeometry().center(), t.window->screen()->geometry().center());
        QCOMPARE(t.digits(), "999999");
        QVERIFY(t.window->face.txtDate->text().isEmpty());
        QTRY_COMPARE(t.digits(), "090507");
        QCOMPARE(t.window->face.txtDate->text(), "Monday, 9 March 2026");
        t.host.turnTo(10, 0, 0, 0);
        QTRY_COMPARE(t.digits(), "000000");
        QTRY_COMPARE(t.window->face.txtDate->text(), "Tuesday, 10 March 2026");
        QVERIFY(!Bench::dialog());
    }

    void a_swipe_becomes_a_punch()
    {
        Bench t(home);
        const QString moment = formatDateTime(t.host.now);
        QTRY_VERIFY(t.host.passes > 0);
        t.reader->send("\2%X?;1001?\3");
        QTRY_COMPARE(t.stored("*"), "0|1001|1|2026-03-09 09:05:07|0|0");
        QCOMPARE(Bench::shown(), QStringList({"Anna Example", "1001", "Clock In", moment}));

        // A second punch, with the window still open: the texts change in place.
        const QPointer<QWidget> first = Bench::dialog();
        first->showMinimized();
        const QString longBadge = "4711" + QString(60, u'0');
        t.host.onEvents = [&] { // during a read, when a click before the card still counts
            t.host.onEvents = {};
            t.click(t.window->face.optEvent(1));
            t.reader->send("\2;" + longBadge.toLatin1() + "?\3");
        };
        QTRY_COMPARE(t.stored().section(u'\n', 1), longBadge.left(50) + ",0");
        QCOMPARE(Bench::dialog(), first);
        QVERIFY(!first->isMinimized());
        QCOMPARE(Bench::shown(), QStringList({"Unknown", longBadge, "Clock Out", moment}));
        QCOMPARE(t.database.run("SELECT ID, RecordCount FROM RawData"), "0|2");

        // However it is closed, the next swipe shows it again.
        for (const QKeyCombination keys :
             {QKeyCombination(Qt::Key_Escape), QKeyCombination(Qt::Key_Enter),
              QKeyCombination(Qt::Key_Return), Qt::ALT | Qt::Key_C}) {
            QVERIFY(QTest::qWaitForWindowActive(Bench::dialog()));
            Bench::dialog()->findChild<QAbstractButton *>("cmdCtrl")->setFocus();
            QTest::keyClick(Bench::dialog(), keys.key(), keys.keyboardModifiers());
            QTRY_VERIFY(!Bench::dialog());
            QTRY_VERIFY(!first);
            t.reader->send("\2%X?\3");
            QTRY_VERIFY(Bench::dialog());
        }
        QCOMPARE(Bench::shown()[1], "");
        QVERIFY(t.host.boxes.isEmpty());

        // A look-up that fails leaves the name empty, and the punch is stored.
        t.reader->send("\2;1002?\3");
        QTRY_COMPARE(Bench::shown().first(), "Bert Sample");
        t.database.run("DROP TABLE Employee");
        t.reader->send("\2;1003?\3");
        QTRY_COMPARE(Bench::shown()[1], "1003");
        QCOMPARE(Bench::shown().first(), "");
        QTRY_VERIFY(t.stored().endsWith("1003,0"));
    }

    /// In real time: a frame may pause for less than the read's time-out, and the local time is
    /// stored.
    void a_punch_by_the_real_time()
    {
        Bench t(home);
        t.host.now = {};
        const auto localTime = [] {
            return QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss");
        };
        const QString before = localTime();
        t.host.onEvents = [&] { // during a read, which other events then interrupt
            t.host.onEvents = {};
            t.reader->send("\2;10");
            QTimer::singleShot(150, Qt::PreciseTimer, qApp, [&] { t.reader->send("01?\3"); });
        };
        QTimer others;
        others.start(5);
        QTRY_VERIFY(!t.stored().isEmpty());
        QCOMPARE(t.stored(), "1001,1");
        const QString stored = t.stored("DateTime");
        QVERIFY2(before <= stored && stored <= localTime(), qPrintable(stored));
    }

    /// The store may block next, so a window on the screen shows its new texts at once.
    void shown_again_it_is_painted_at_once()
    {
        frmPunchInformation form;
        form.Show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        form.txtEmployee->Text("A");
        QCoreApplication::processEvents();
        PaintCounter paints;
        form.txtEmployee->installEventFilter(&paints);
        form.txtEmployee->Text("B");
        form.Show();
        QVERIFY(paints.count > 0);
    }

    /// Another program locks the database for a moment: the punch is visible meanwhile.
    void a_punch_is_seen_while_the_store_waits()
    {
        class Holder : public QObject
        {
        public:
            explicit Holder(Bench &bench) : m_bench(bench)
            {
                m_other.ConnectionString(bench.database.connectionString());
                Statement(m_other, "BEGIN IMMEDIATE").execute();
            }
            bool eventFilter(QObject *watched, QEvent *event) override
            {
                const bool isPainted =
                    event->type() == QEvent::Paint && watched->objectName() == "txtBadgeNumber";
                if (isPainted && m_bench.environment.conOV.onLocked && shown.isEmpty()) {
                    shown = Bench::shown();
                    hadInput = hasInput;
                    Statement(m_other, "COMMIT").execute();
                } else if (event->type() == QEvent::Show && watched == Bench::dialog()) {
                    QCursor::setPos(m_bench.window->geometry().center());
                }
                hasInput = hasInput || event->type() == QEvent::Enter;
                return false;
            }
            QStringList shown;
            bool hasInput = false; ///< whether the pointer has entered a window
            bool hadInput = false; ///< the same at the time the punch was visible

        private:
            Bench &m_bench;
            Connection m_other;
        };
        Bench t(home);
        t.environment.conOV.CommandTimeout = std::chrono::seconds(3);
        Holder holder(t);
        QCursor::setPos(0, 0);
        QTRY_VERIFY(t.host.passes > 0);
        qApp->installEventFilter(&holder);
        t.reader->send("\2;1001?\3");
        QTRY_VERIFY(!t.stored().isEmpty() || !t.host.boxes.isEmpty());
        QCOMPARE(holder.shown.value(1), "1001");
        QTRY_VERIFY(holder.hasInput);
        QVERIFY(!holder.hadInput); // user input waits for the store
        QVERIFY(t.host.boxes.isEmpty());
    }

    /// A message box shows its text unchanged.
    void boxes_are_plain_text()
    {
        QString shown;
        QTimer::singleShot(0, qApp, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            shown = box && box->textFormat() == Qt::PlainText ? box->text() : QString();
            QApplication::activeModalWidget()->close();
        });
        DesktopHost().MsgBox("a<b>c", "1", MsgBoxIcon::None);
        QCOMPARE(shown, "a<b>c");
    }

    void tracks_data()
    {
        Table<QByteArray, QByteArray, QString, QString> row("track", "frame", "badge", "message");
        const QString none("-"); // no punch
        row("first", "0", "\2%A?;1?+2?\3", "A", "");
        row("third", "2", "\2%A?;1?+2?\3", "2", "");
        row("garbage", "x", "\2%A?;1?+2?\3", "A", "");
        row("beyond ASCII", "1", "\2;J\xF6rg?\3", "J\u00F6rg", "");
        row("absent track", "1", "\2%A?\3", "", "");
        row("no STX", "1", "x\3", "", "");
        row("reader refused", "1", "\2\x15\3", none, "");
        row("no such track", "3", "\2;1?\3", none, "Tavrel: Subscript out of range");
        row("negative", "-1", "\2;1?\3", none, "Tavrel: Subscript out of range");
        row("too large", "99999", "", none, "Tavrel: Overflow");
    }
    void tracks()
    {
        QFETCH(QByteArray, track);
        QFETCH(QByteArray, frame);
        QFETCH(QString, badge);
        QFETCH(QString, message);
        Bench t(home, "[MSR]\nTrack=" + track + "\n");
        QTRY_COMPARE(t.digits(), "090507");
        t.reader->send(frame);
        if (badge != "-") {
            QTRY_COMPARE(t.stored(), badge + ",1");
            QVERIFY(t.host.boxes.isEmpty());
        } else if (message.isEmpty()) { // the next card is the first that counts
            QTRY_VERIFY(!t.stored().isEmpty() || t.reader->send("\2;7?\3") < 0);
            QCOMPARE(t.stored().section(u'\n', 0, 0), "7,1");
            QVERIFY(t.host.boxes.isEmpty());
        } else {
            QTRY_VERIFY(!t.host.boxes.isEmpty());
            for (const QString &box : t.host.boxes)
                QCOMPARE(box, message);
            QVERIFY(t.stored().isEmpty());
            QVERIFY(!Bench::dialog());
        }
    }

    /// During a poll that does not end, as under a dialog or a message box, the clock continues and
    /// nothing reads the line.
    void ticks_inside_a_poll_do_not_poll()
    {
        Bench t(home);
        t.host.onEvents = [&] {
            t.host.onEvents = {};
            t.host.turnTo(9, 11, 22, 33);
            QTRY_COMPARE(t.digits(), "112233");
            t.host.turnTo(10, 23, 59, 58);
            QTRY_COMPARE(t.digits(), "235958");
            QVERIFY(t.window->face.txtDate->text().startsWith("Tuesday"));
            QCOMPARE(t.host.passes, 1);
        };
        QTRY_COMPARE(t.digits(), "235958");

        // The same under the message box of a punch that cannot be stored.
        t.database.run("DROP TABLE RawData");
        t.host.onBox = [&] {
            t.host.turnTo(9, 12, 34, 56);
            QTRY_COMPARE(t.digits(), "123456");
        };
        t.reader->send("\2;1?\3");
        QTRY_COMPARE(t.host.boxes, QStringList("1: no such table: RawData"));
        QCOMPARE(t.digits(), "123456");
        QCOMPARE(Bench::shown()[1], "1");
    }

    void the_punch_type_follows_the_day()
    {
        Bench t(home, "[Punch]\nAutoSwitch=1\nClockIn=06:00:00\nClockOut=12:00:00\n");
        OptionButton *in = t.window->face.optEvent(0);
        OptionButton *out = t.window->face.optEvent(1);
        QVERIFY(QTest::qWaitForWindowActive(t.window.get()));
        QTRY_COMPARE(t.digits(), "090507");
        QVERIFY(in->Value());
        QVERIFY(out->font().bold()); // unchanged: it is already selected
        QVERIFY(!t.window->face.txtDate->hasFocus());

        t.host.turnTo(9, 12, 0, 0);
        QTRY_VERIFY(out->Value());
        QVERIFY(!in->font().bold() && t.window->face.txtDate->hasFocus());

        // A choice by hand does not last.
        t.click(in);
        QVERIFY(in->Value());
        QTRY_VERIFY(out->Value());

        // Invalid times leave the selection unchanged, and the clock continues.
        home.writeSettings("[Punch]\nAutoSwitch=1\nClockIn=never\nClockOut=12:00:00\n");
        t.host.turnTo(9, 6, 0, 0);
        QTRY_COMPARE(t.digits(), "060000");
        QVERIFY(out->Value());

        // A change of the settings takes effect at the next tick.
        home.writeSettings("[Punch]\nAutoSwitch=1\nClockIn=6:00:00 AM\nClockOut=12:00:00\n");
        QTRY_VERIFY(in->Value());
        home.writeSettings("[Punch]\nAutoSwitch=2\nClockIn=12:00:00\nClockOut=06:00:00\n");
        t.host.turnTo(9, 7, 0, 0);
        QTRY_COMPARE(t.digits(), "070000");
        QVERIFY(in->Value());
        QVERIFY(t.host.boxes.isEmpty());
    }

    /// Swipes while the Options dialog is up, opened inside a reader wait, as most clicks do, or
    /// between two ticks.
    void swipes_while_options_is_open_data()
    {
        Table<bool> row("insideWait");
        row("inside a wait", true);
        row("between two ticks", false);
    }
    void swipes_while_options_is_open()
    {
        QFETCH(bool, insideWait);
        VirtualReader other;
        other.linkAt(home.path("Tavrel/COM2"));
        Bench t(home, "[Communication]\nComport=0\n");
        bool wasClosed = false;
        QPointer<QWidget> opened;

        // Uses the open dialog: ticks continue; then chooses another port and presses OK.
        QTimer user;
        int steps = 0;
        QObject::connect(&user, &QTimer::timeout, [&] {
            QWidget *options = Bench::topLevel("frmOptions");
            if (!options)
                return;
            if (steps == 0) {
                opened = options;
                QCOMPARE(options->windowHandle()->transientParent(), t.window->windowHandle());
                t.host.turnTo(9, 11, 22, 33);
                t.reader->send("\2;1001?\3");
                steps = 1;
            } else if (t.digits() == "112233" && (insideWait || !t.stored().isEmpty())) {
                options->findChild<QComboBox *>("cboComport")->setCurrentIndex(1);
                QTest::keyClick(options, Qt::Key_Return);
                wasClosed = true;
            }
        });
        user.start(5);

        if (insideWait)
            t.host.onEvents = [&] {
                t.host.onEvents = {};
                t.click(t.window->face.cmdCtrl(0));
            };
        else
            t.click(t.window->face.cmdCtrl(0));
        QTRY_VERIFY(wasClosed && !opened);
        QVERIFY(!t.window->face.cmdCtrl(0)->internalWinId()); // native windows wreck the face
        QCOMPARE(t.stored(), insideWait ? "" : "1001,1");
        QVERIFY(t.host.boxes.isEmpty());

        // Swipes now come from the chosen port, and no longer from the old one.
        t.reader->send("\2;1002?\3");
        const int passes = t.host.passes;
        QTRY_VERIFY(t.host.passes > passes);
        other.send("\2;1003?\3");
        QTRY_COMPARE(t.stored().section(u'\n', -1), "1003,1");
        QVERIFY(!t.stored().contains("1002"));
    }

    void the_line_is_set_as_stored()
    {
        Bench t(home, "[Communication]\nBaudRate=1\nSettings=2\n");
        const FileDescriptor line(::open(qPrintable(t.reader->device()), O_RDWR | O_NOCTTY));
        termios set = {};
        QCOMPARE(tcgetattr(line.get(), &set), 0);
        QCOMPARE(cfgetospeed(&set), speed_t{B4800});
        QVERIFY(set.c_iflag & INPCK);
    }

    void a_port_that_cannot_be_used_data()
    {
        Table<QByteArray> row("setting");
        for (const char *bad : {"Comport=2", "Comport=32767", "Comport=99999", "Comport=-1",
                                "BaudRate=3", "BaudRate=1e9", "Settings=-1", "Settings=99999"})
            row(bad);
        row("pulled out", "");
    }
    void a_port_that_cannot_be_used()
    {
        QFETCH(QByteArray, setting);
        QFile::link("/nowhere", home.path("Tavrel/COM3"));
        Bench t(home, "[Communication]\n" + setting + "\n");
        if (setting.isEmpty()) {
            QTRY_VERIFY(t.host.passes > 0);
            t.reader->send("\2;10");
            t.reader.reset();
        }
        QTRY_COMPARE(t.digits(), "090507");
        t.host.turnTo(9, 12, 34, 56);
        QTRY_COMPARE(t.digits(), "123456");
        QVERIFY(t.host.boxes.isEmpty());
        QVERIFY(t.stored().isEmpty());
    }

    /// Settings that cannot be used close the port that was open.
    void unusable_settings_give_the_line_back()
    {
        Bench t(home);
        QTRY_VERIFY(t.host.passes > 0);
        home.writeSettings("[Communication]\nBaudRate=99999\n");
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, [&] {
            if (QWidget *options = Bench::topLevel("frmOptions"))
                QTest::keyClick(options, Qt::Key_Escape);
        });
        user.start(5);
        t.click(t.window->face.cmdCtrl(0));
        TermiosComm other([&](std::int16_t) { return t.reader->device(); });
        other.PortOpen(true);
        QVERIFY(other.PortOpen());
    }

    void ways_out()
    {
        for (const bool closeBox : {true, false}) {
            Bench t(home);
            QTRY_VERIFY(t.host.passes > 0);
            t.reader->send("\2;1?\3");
            QTRY_VERIFY(Bench::dialog());
            if (closeBox)
                t.window->close();
            else
                t.click(t.window->face.cmdCtrl(1));
            QCOMPARE(t.host.ended, 1);
            QVERIFY(!Bench::dialog());
        }
    }

    /// At once, with status 0; the exit handlers run, one of which restores the line.
    void the_end_of_the_process()
    {
        for (const int answer : {0, 42}) {
            const int status = statusOf([&] {
                if (answer != 0)
                    std::at_quick_exit([] { _exit(42); });
                DesktopHost().End();
                return 1;
            });
            QCOMPARE(status, W_EXITCODE(answer, 0));
        }
    }

private:
    /// A process that waits for the barrier, starts, answers "+" if it keeps running, and stays.
    [[noreturn]] static void start(const int (&barrier)[2], const int (&answers)[2],
                                   bool knowsRunTimeFolder)
    {
        if (!knowsRunTimeFolder)
            qunsetenv("XDG_RUNTIME_DIR");
        char nothing = 0;
        close(barrier[1]);
        const bool opened = read(barrier[0], &nothing, 1) == 0;
        const App::InstanceLock instance;
        if (opened && write(answers[1], instance.PrevInstance() ? "-" : "+", 1) == 1)
            close(answers[1]);
        for (;;)
            pause();
    }

    TemporaryHome home;
};

QTEST_MAIN(TestFrmMain)
#include "tst_frmmain.moc"
