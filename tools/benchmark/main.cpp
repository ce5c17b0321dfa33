// Measures the parts of a clock and prints table rows. Called by scripts/bench.

#include "app/frmMain.h"
#include "app/settings/SettingsStore.h"
#include "app/settings/UserSettings.h"
#include "platform/text/DatesAndTimes.h"
#include "platform/windows/DesktopHost.h"
#include "platform/windows/Twips.h"
#include "store/DataEnvironment.h"
#include "store/GetEmployeeName.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QApplication>
#include <QElapsedTimer>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <vector>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void giveUp(const char *why)
{
    std::fprintf(stderr, "benchmark: %s\n", why);
    std::exit(1);
}

/// Prints a row of the table in docs/measurements.md.
void row(const QString &what, const QString &measured)
{
    std::printf("| %s | %s |\n", qPrintable(what), qPrintable(measured));
    std::fflush(stdout);
}

using Times = std::vector<double>; ///< in milliseconds

/// The `share` quantile of the times, for example 0.5 for the median.
double quantile(Times times, double share)
{
    const auto index = static_cast<std::ptrdiff_t>(share * static_cast<double>(times.size() - 1));
    std::nth_element(times.begin(), times.begin() + index, times.end());
    return times.at(static_cast<std::size_t>(index));
}

QString milliseconds(const Times &times)
{
    return u"%1 ms, 95 % in %2"_s.arg(quantile(times, 0.5), 0, 'f', 2)
        .arg(quantile(times, 0.95), 0, 'f', 2);
}

double elapsed(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double timed(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return elapsed(timer);
}

/// The real host, with one hook in a poll's wait for a card and one in reading the time.
class HookedHost : public DesktopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &, MsgBoxIcon) override
    {
        giveUp(qPrintable(text));
    }
    void DoEvents(std::int32_t longestWait) override
    {
        DesktopHost::DoEvents(longestWait);
        if (const auto hook = std::exchange(insidePoll, {}))
            hook();
    }
    QDateTime Now() override
    {
        if (onNow)
            onNow();
        return DesktopHost::Now();
    }

    std::function<void()> insidePoll; ///< runs once, during the next wait of a poll
    std::function<void()> onNow;
};

/// Plain SQLite, as durable as the clock. It counts in the first batch.
class BareDatabase
{
public:
    BareDatabase()
    {
        sqlite3_open("bare.mdb", &m_database);
        run("PRAGMA synchronous = EXTRA");
    }
    ~BareDatabase() { sqlite3_close(m_database); }
    Q_DISABLE_COPY_MOVE(BareDatabase)

    /// The two commits of a punch.
    void store()
    {
        run("UPDATE RawData SET RecordCount = RecordCount + 1, "
            "DateTime = '2026-01-01 00:00:01' WHERE rowid = 1");
        run("INSERT INTO RawDataDetails VALUES (0, '1001', 1, '2026-01-01 00:00:01', 0, 0)");
    }

private:
    void run(const char *sql)
    {
        if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            giveUp(sqlite3_errmsg(m_database));
    }

    sqlite3 *m_database = nullptr;
};

/// Processes events until a condition holds and the current event is done.
void runEvents(const std::function<bool()> &until)
{
    while (!until())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

/// How long a punch took, in milliseconds from the last byte of its frame.
struct PunchTimes {
    double made;   ///< until its window was created and filled except for the time
    double shown;  ///< until its window was shown
    double stored; ///< until both rows were durable
};

/// A running clock with a reader at COM1 and the database in the current folder.
class Clock
{
public:
    Clock()
    {
        m_reader.linkAt(settingsFolder(ApplicationTitle) + u"/COM1"_s);
        environment.conOV.ConnectionString(connectionString(u"."_s));
        m_window.Show();
    }

    /// Runs `work` during the wait of a poll, the state in which a frame usually arrives.
    void insidePoll(const std::function<void()> &work)
    {
        host.insidePoll = work;
        runEvents([&] { return !host.insidePoll; });
    }

    /// Swipes a badge while a poll waits, or just after a poll.
    PunchTimes swipe(bool duringPoll = true)
    {
        QElapsedTimer timer;
        Times readings; // a punch reads the time for its window, its row and the batch
        const auto send = [&] {
            host.onNow = [&] { readings.push_back(elapsed(timer)); };
            timer.start();
            m_reader.send("\2;1001?\3");
        };
        insidePoll(duringPoll ? std::function<void()>(send) : [] {});
        if (!duringPoll) // that poll has ended; the next tick reads the time twice as well
            send();
        runEvents([&] { return readings.size() >= (duringPoll ? 3 : 5); });
        host.onNow = {};
        const PunchTimes times{readings.end()[-3], readings.end()[-2], elapsed(timer)};
        close();
        return times;
    }

    HookedHost host;
    DataEnvironment environment;

private:
    /// Closes the window from an event, as a user does, so that deferred deletions run too.
    static void close()
    {
        QTimer::singleShot(0, [] {
            for (QWidget *window : QApplication::topLevelWidgets()) {
                if (window->objectName() == QLatin1String("frmPunchInformation"))
                    window->close();
            }
        });
        QCoreApplication::processEvents();
    }

    VirtualReader m_reader;
    frmMain m_window{host, environment};
};

/// Measures punches on the database that `database` describes.
void benchmarkPunch(const QString &database, bool withShares)
{
    constexpr int Rounds = 101;
    Clock clock;
    BareDatabase bare;
    std::map<QString, Times> times;
    for (int i = 0; i < Rounds; ++i) {
        const double lookUp = timed([&] {
            QString name;
            GetEmployeeName(clock.host, clock.environment, u"1001"_s, name);
        });
        const PunchTimes punch = clock.swipe();
        times["look-up"].push_back(lookUp);
        times["made"].push_back(punch.made - lookUp);
        times["shown"].push_back(punch.shown - punch.made);
        times["store"].push_back(punch.stored - punch.shown);
        times["whole"].push_back(punch.stored);
        clock.insidePoll([&] { times["bare"].push_back(timed([&] { bare.store(); })); });
        if (withShares && i % 4 == 0)
            times["between"].push_back(clock.swipe(false).stored);
    }
    const double ratio = quantile(times["store"], 0.5) / quantile(times["bare"], 0.5);
    row(u"a punch on %1"_s.arg(database), milliseconds(times["whole"]));
    row(u"its two commits by SQLite alone"_s, milliseconds(times["bare"]));
    row(u"its store; times those commits"_s,
        u"%1; %2"_s.arg(milliseconds(times["store"])).arg(ratio, 0, 'f', 2));
    if (!withShares)
        return;
    row(u"its look-up"_s, milliseconds(times["look-up"]));
    row(u"its frame read, its window made and filled"_s, milliseconds(times["made"]));
    row(u"its window shown"_s, milliseconds(times["shown"]));
    row(u"a punch whose frame comes just after a poll"_s, milliseconds(times["between"]));
}

/// Measures the parts of a tick, each repeated many times.
void benchmarkTick()
{
    constexpr int Rounds = 5000;
    for (const UserSettings::Key &key : {UserSettings::ClockIn, UserSettings::ClockOut})
        UserSettings::write(key, u"06:00:00"_s);
    HookedHost host;
    QWidget window;
    window.setFixedSize(pixels(ClockFace::ClientWidth), pixels(ClockFace::ClientHeight));
    ClockFace face(window);
    window.show();
    const auto measure = [&](const char *what, const std::function<void()> &part) {
        const double time = timed([&] {
            for (int i = 0; i < Rounds; ++i)
                part();
        });
        row(u"a tick: "_s + QLatin1String(what), u"%1 ms"_s.arg(time / Rounds, 0, 'f', 3));
    };
    measure("its four settings", [] {
        for (const UserSettings::Key &key : {UserSettings::ClockIn, UserSettings::ClockOut,
                                             UserSettings::AutoSwitch, UserSettings::Track})
            UserSettings::read(key);
    });
    measure("its two times of day, read", [] {
        timeText(u"06:00:00"_s);
        timeText(u"06:00:00"_s);
    });
    measure("its six digits", [&] {
        const QString digits = formatHHNNSS(host.Now());
        for (int k = 0; k < digits.size(); ++k)
            face.img(k * 10 + digits[k].digitValue())->ZOrder();
        face.readOut(digits);
    });
    measure("its date", [&] { face.txtDate->Text(formatLongDate(host.Now())); });
}

/// A line on which a frame has always just arrived.
class BusyLine : public MSComm
{
public:
    void CommPort(std::int16_t) override {}
    void Settings(const QString &) override {}
    bool PortOpen() const override { return true; }
    void PortOpen(bool) override {}
    std::int16_t InBufferCount() override { return static_cast<std::int16_t>(m_frame.size()); }
    QByteArray Input() override { return m_frame; }
    void Output(const QByteArray &) override {}

private:
    QByteArray m_frame = "\2%ANNA EXAMPLE?;1001?+7?\3";
};

void benchmarkDriver()
{
    constexpr int Frames = 200000;
    HookedHost host;
    BusyLine line;
    CMRW driver(host, line);
    QString tracks[3];
    const double time = timed([&] {
        for (int i = 0; i < Frames; ++i) {
            if (driver.ReadTracks(200, tracks[0], tracks[1], tracks[2]) != CMRW::Success)
                giveUp("the driver lost a frame");
        }
    });
    row(u"frames of three tracks through the driver, a second"_s,
        u"%1 million"_s.arg(Frames / time / 1000, 0, 'f', 1));
}

/// Runs a clock that ends at its first tick.
[[noreturn]] void runToFirstTick()
{
    HookedHost host;
    DataEnvironment environment;
    host.onNow = [] { std::_Exit(0); };
    frmMain window(host, environment);
    window.Show();
    std::_Exit(QApplication::exec());
}

/// Runs an empty window with the clock's size and timer, which may end at the first tick.
[[noreturn]] void runEmptyWindow(bool endsAtTick)
{
    QWidget window;
    window.setFixedSize(pixels(ClockFace::ClientWidth), pixels(ClockFace::ClientHeight));
    window.show();
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (endsAtTick)
            std::_Exit(0);
    });
    timer.start(100);
    std::_Exit(QApplication::exec());
}

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const QString what = arguments.value(1);
    const std::map<QString, std::function<void()>> parts{
        {u"punch"_s, [&] { benchmarkPunch(arguments.value(2), arguments.value(3) == u"shares"); }},
        {u"tick"_s, benchmarkTick},
        {u"driver"_s, benchmarkDriver},
        {u"first-tick"_s, runToFirstTick},
        {u"empty-window"_s, [&] { runEmptyWindow(arguments.value(2) == u"first-tick"); }}};
    try {
        if (const auto part = parts.find(what); part != parts.end()) {
            part->second();
            return 0;
        }
    } catch (const Failure &failure) {
        giveUp(qPrintable(failure.description));
    }
    giveUp("usage: benchmark punch WHAT-IS-STORED [shares] | tick | driver | first-tick | "
           "empty-window [first-tick]\n"
           "works on Orvanta.mdb and its copy bare.mdb in the current folder, and on COM1");
}
