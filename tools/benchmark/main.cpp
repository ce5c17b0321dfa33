#include "app/frmMain.h"
#include "app/settings/UserSettings.h"
#include "platform/basics/Failure.h"
#include "platform/text/RegionalFormat.h"
#include "platform/windows/DesktopHost.h"
#include "platform/windows/Twips.h"
#include "store/DataEnvironment.h"
#include "store/GetEmployeeName.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <vector>

namespace
{

[[noreturn]] void giveUp(const char *why)
{
    std::fprintf(stderr, "benchmark: %s\n", why);
    std::exit(1);
}

/// Prints a row of the table in which the figures are published.
void row(const QString &what, const QString &measured)
{
    std::printf("| %s | %s |\n", qPrintable(what), qPrintable(measured));
    std::fflush(stdout);
}

/// The value below which `share` of the values lie, as in 0.5 for the median.
double quantile(std::vector<double> values, double share)
{
    if (values.empty())
        giveUp("nothing was measured");
    const auto index = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<std::size_t>(index)];
}

QString milliseconds(const std::vector<double> &values)
{
    return QStringLiteral("%1 ms, 95 % in %2")
        .arg(quantile(values, 0.5), 0, 'f', 2)
        .arg(quantile(values, 0.95), 0, 'f', 2);
}

double elapsed(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// A folder on the disk under test, with settings of its own.
class Workplace
{
public:
    Workplace() : m_folder(QDir::currentPath() + QStringLiteral("/benchmark-XXXXXX"))
    {
        qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8());
        QDir(m_folder.path()).mkpath(QStringLiteral("Tavrel"));
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString comLink() const { return path(QStringLiteral("Tavrel/COM1")); }

private:
    QTemporaryDir m_folder;
};

/// The real machine, with a hook where a poll waits for a card and one where the time is asked for.
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
        ++polls;
        DesktopHost::DoEvents(longestWait);
        --polls;
        if (const auto hook = std::exchange(insidePoll, {}))
            hook();
    }
    QDateTime Now() override
    {
        if (onNow)
            onNow();
        return DesktopHost::Now();
    }

    int polls = 0;                    ///< how many are waiting for a card: none or one
    std::function<void()> insidePoll; ///< runs once, in the next wait of a poll
    std::function<void()> onNow;
};

/// SQLite without anything around it, on a file of the same tables.
class BareDatabase
{
public:
    explicit BareDatabase(const QString &path)
    {
        if (sqlite3_open(path.toUtf8().constData(), &m_database) != SQLITE_OK)
            giveUp("no database");
        run("PRAGMA synchronous = EXTRA"); // as the clock has it
    }
    ~BareDatabase() { sqlite3_close(m_database); }
    BareDatabase(const BareDatabase &) = delete;
    BareDatabase &operator=(const BareDatabase &) = delete;

    void run(const QByteArray &sql)
    {
        if (sqlite3_exec(m_database, sql.constData(), nullptr, nullptr, nullptr) != SQLITE_OK)
            giveUp(sqlite3_errmsg(m_database));
    }

private:
    sqlite3 *m_database = nullptr;
};

/// A database with so many stored punches, in the last of so many batches.
void makeDatabase(const QString &path, qlonglong punches, qlonglong batches = 1)
{
    QFile schema(QStringLiteral(":/store/schema.sql"));
    if (!schema.open(QIODevice::ReadOnly))
        giveUp("no schema");
    const auto series = [](qlonglong count) {
        return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
               QByteArray::number(count) + ") ";
    };
    BareDatabase database(path);
    database.run(schema.readAll());
    database.run("INSERT INTO Employee VALUES ('1001', 'Anna Example')");
    database.run(series(batches) +
                 "INSERT INTO RawData SELECT i % 32768, 0, '2026-01-01 00:00:00', "
                 "iif(i = (SELECT max(i) FROM n), 'MSR', 'other') FROM n");
    if (punches > 0)
        database.run(series(punches) + "INSERT INTO RawDataDetails SELECT 0, i, 1, "
                                       "'2026-01-01 00:00:00', 0, 0 FROM n");
}

/// Closes the window as a user does, by an event: what an event deletes later goes when it is
/// over, and not only at the end of the program.
void closePunchInformation()
{
    QTimer::singleShot(0, [] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->objectName() == QLatin1String("frmPunchInformation"))
                window->close();
        }
    });
    QCoreApplication::processEvents();
}

void runEvents(const std::function<bool()> &until)
{
    while (!until())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

/// What a punch took, in milliseconds: from the last byte of its frame to the window made and
/// filled but for the time, to the window shown, and to both rows durable.
struct PunchTimes {
    double made = 0;
    double shown = 0;
    double durable = 0;
};

/// A clock at work on a reader and a database.
struct Clock {
    explicit Clock(qlonglong punches, qlonglong batches = 1)
    {
        makeDatabase(workplace.path(QStringLiteral("Orvanta.mdb")), punches, batches);
        reader.linkAt(workplace.comLink());
        environment.conOV.ConnectionString(connectionString(workplace.path(QStringLiteral("."))));
        window.Show();
    }

    /// Swipes a badge, so that a running poll meets the frame, or between two polls.
    PunchTimes swipe(bool insidePoll = true)
    {
        QElapsedTimer timer;
        std::vector<double> readings; // of the clock, in a punch: made, shown, in the store
        const auto send = [&] {
            readings.clear();
            host.onNow = [&] { readings.push_back(elapsed(timer)); };
            timer.start();
            reader.send("\2;1001?\3");
        };
        if (insidePoll) {
            host.insidePoll = send;
            runEvents([&] { return readings.size() >= 3; });
        } else {
            runEvents([&] { return host.polls == 0; });
            host.insidePoll = [&] { QTimer::singleShot(0, &window, [&] { trySend(send); }); };
            runEvents([&] { return readings.size() >= 5; }); // the tick reads the clock twice
        }
        host.onNow = {};
        const std::size_t last = readings.size() - 1;
        return {readings[last - 2], readings[last - 1], elapsed(timer)};
    }

    /// Sends as soon as no poll waits any more.
    void trySend(const std::function<void()> &send)
    {
        if (host.polls == 0)
            send();
        else
            QTimer::singleShot(1, &window, [this, send] { trySend(send); });
    }

    Workplace workplace;
    VirtualReader reader;
    HookedHost host;
    DataEnvironment environment;
    frmMain window{host, environment};
};

/// The two commits of a punch by SQLite alone.
double commitBare(BareDatabase &bare)
{
    QElapsedTimer timer;
    timer.start();
    bare.run("UPDATE RawData SET RecordCount = RecordCount + 1, "
             "DateTime = '2026-01-01 00:00:01' WHERE rowid = 1");
    bare.run("INSERT INTO RawDataDetails VALUES (0, '1001', 1, '2026-01-01 00:00:01', 0, 0)");
    return elapsed(timer);
}

void benchmarkPunch(const QStringList &sizes)
{
    constexpr int Rounds = 201;
    for (const QString &size : sizes) {
        Clock clock(size.toLongLong());
        const QString bareFile = clock.workplace.path(QStringLiteral("bare"));
        QFile::copy(clock.workplace.path(QStringLiteral("Orvanta.mdb")), bareFile);
        BareDatabase bare(bareFile);

        std::map<QString, std::vector<double>> times;
        for (int i = 0; i < Rounds; ++i) {
            QElapsedTimer timer;
            timer.start();
            QString name;
            GetEmployeeName(clock.host, clock.environment, QStringLiteral("1001"), name);
            times["look-up"].push_back(elapsed(timer));

            const PunchTimes punch = clock.swipe();
            closePunchInformation();
            times["whole"].push_back(punch.durable);
            times["made"].push_back(punch.made - times["look-up"].back());
            times["shown"].push_back(punch.shown - punch.made);
            times["stored"].push_back(punch.durable - punch.shown);
            // From the same state of disk and processor as a punch: out of a poll's wait.
            bool committed = false;
            clock.host.insidePoll = [&] {
                times["bare"].push_back(commitBare(bare));
                committed = true;
            };
            runEvents([&] { return committed; });
        }
        row(QStringLiteral("a punch on %1 stored ones, from the last byte to both rows durable")
                .arg(size),
            milliseconds(times["whole"]));
        row(QStringLiteral("its two commits by SQLite alone"), milliseconds(times["bare"]));
        row(QStringLiteral("its store; times those commits"),
            QStringLiteral("%1; %2")
                .arg(milliseconds(times["stored"]))
                .arg(quantile(times["stored"], 0.5) / quantile(times["bare"], 0.5), 0, 'f', 2));
        if (size != sizes.first())
            continue;
        for (const auto &[share, what] : {std::pair{"look-up", "its look-up"},
                                          {"made", "its window, made and filled"},
                                          {"shown", "its window, shown"}})
            row(QString::fromLatin1(what), milliseconds(times[share]));
        std::vector<double> between;
        for (int i = 0; i < Rounds / 4; ++i) {
            between.push_back(clock.swipe(false).durable);
            closePunchInformation();
        }
        row(QStringLiteral("a punch whose frame comes between two polls"), milliseconds(between));
    }
    constexpr qlonglong Batches = 100000;
    Clock clock(0, Batches);
    std::vector<double> times;
    for (int i = 0; i < Rounds / 4; ++i) {
        times.push_back(clock.swipe().durable);
        closePunchInformation();
    }
    row(QStringLiteral("a punch in the last of %1 batches").arg(Batches), milliseconds(times));
}

/// What a process has used and how often it has been woken up, as the system keeps count.
struct Usage {
    double milliseconds = 0;
    double wakeUps = 0;
};

Usage usageOf(const QProcess &process)
{
    const auto read = [&](const char *name) {
        QFile file(QStringLiteral("/proc/%1/%2").arg(process.processId()).arg(QLatin1String(name)));
        if (!file.open(QIODevice::ReadOnly))
            giveUp("a measured process has ended");
        return file.readAll();
    };
    const QByteArray status = read("status");
    const QByteArray mark("\nvoluntary_ctxt_switches:");
    return {read("schedstat").split(' ')[0].toDouble() / 1e6,
            status.mid(status.indexOf(mark) + mark.size()).trimmed().split('\n')[0].toDouble()};
}

/// The shipped program with its port open and closed, and an empty window, all at the same time.
void benchmarkIdle(double seconds)
{
    const Workplace workplace;
    VirtualReader reader;
    const QString folder = QCoreApplication::applicationDirPath();
    const QString self = QCoreApplication::applicationFilePath();
    const std::array<std::pair<QString, QStringList>, 3> programs{
        std::pair{QStringLiteral("port open"), QStringList{folder + QStringLiteral("/Tavrel")}},
        std::pair{QStringLiteral("port closed"), QStringList{folder + QStringLiteral("/Tavrel")}},
        std::pair{QStringLiteral("an empty window with a timer of 100 ms"),
                  QStringList{self, QStringLiteral("empty-window")}}};
    std::array<QProcess, 3> processes;
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const QString home = workplace.path(QStringLiteral("home%1").arg(i));
        QDir(home).mkpath(QStringLiteral("Tavrel"));
        QFile::link(i == 0 ? reader.device() : QStringLiteral("/nowhere"),
                    home + QStringLiteral("/Tavrel/COM1"));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home);
        environment.remove(QStringLiteral("XDG_RUNTIME_DIR")); // they are not to meet each other
        processes[i].setProcessEnvironment(environment);
        processes[i].start(programs[i].second.first(), programs[i].second.mid(1));
    }
    const auto wait = [](double time) {
        QElapsedTimer timer;
        timer.start();
        QTimer alarm;
        alarm.start(static_cast<int>(time * 1000));
        runEvents([&] { return elapsed(timer) >= time * 1000; });
    };
    wait(3);
    std::array<Usage, 3> before;
    std::ranges::transform(processes, before.begin(), usageOf);
    wait(seconds);
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const Usage after = usageOf(processes[i]);
        row(QStringLiteral("idle, %1: of one core; wake-ups a second").arg(programs[i].first),
            QStringLiteral("%1 %; %2")
                .arg((after.milliseconds - before[i].milliseconds) / seconds / 10, 0, 'f', 2)
                .arg((after.wakeUps - before[i].wakeUps) / seconds, 0, 'f', 1));
    }
    for (QProcess &process : processes) {
        process.kill();
        process.waitForFinished();
    }
}

/// The parts of a tick, each done many times over.
void benchmarkTick()
{
    constexpr int Rounds = 5000;
    const Workplace workplace;
    for (const UserSettings::Key &key : {UserSettings::ClockIn, UserSettings::ClockOut})
        UserSettings::write(key, QStringLiteral("06:00:00"));
    HookedHost host;
    QWidget window;
    window.setFixedSize(pixels(ClockFace::ClientWidth), pixels(ClockFace::ClientHeight));
    ClockFace face(window);
    window.show();
    const auto measure = [&](const char *what, const std::function<void()> &part) {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < Rounds; ++i)
            part();
        row(QStringLiteral("a tick: ") + QLatin1String(what),
            QStringLiteral("%1 ms").arg(elapsed(timer) / Rounds, 0, 'f', 3));
    };
    measure("its four settings", [] {
        for (const UserSettings::Key &key : {UserSettings::ClockIn, UserSettings::ClockOut,
                                             UserSettings::AutoSwitch, UserSettings::Track})
            UserSettings::read(key);
    });
    measure("its two times of day, read", [] {
        timeText(QStringLiteral("06:00:00"));
        timeText(QStringLiteral("06:00:00"));
    });
    measure("its six digits", [&] {
        const QString digits = formatHHNNSS(host.Now());
        for (int k = 0; k < digits.size(); ++k)
            face.img(k * 10 + digits[k].digitValue())->ZOrder();
        face.readOut(digits);
    });
    measure("its date", [&] { face.txtDate->Text(formatLongDate(host.Now())); });
}

/// A line on which a frame has always just come in.
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
    std::array<QString, 3> tracks;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < Frames; ++i) {
        if (driver.ReadTracks(200, tracks[0], tracks[1], tracks[2]) != CMRW::Success)
            giveUp("the driver has lost a frame");
    }
    row(QStringLiteral("frames of three tracks through the driver, a second"),
        QString::number(static_cast<qlonglong>(Frames / elapsed(timer) * 1000)));
}

void benchmarkSoak(int swipes)
{
    Clock clock(0);
    for (int i = 0; i <= swipes; ++i) {
        clock.swipe();
        if (i % 3 == 0)
            closePunchInformation();
        if (i != swipes / 10 && i != swipes)
            continue;
        QFile status(QStringLiteral("/proc/self/statm"));
        if (!status.open(QIODevice::ReadOnly))
            giveUp("no /proc");
        const double pages = status.readAll().split(' ')[1].toDouble();
        const auto files =
            QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
        row(QStringLiteral("after %1 swipes: resident memory; open files").arg(i),
            QStringLiteral("%1 MB; %2")
                .arg(pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6, 0, 'f', 1)
                .arg(files));
    }
}

/// An empty window of the clock's size, which ends at its first tick or goes on ticking.
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
    QApplication::exec();
    std::_Exit(1);
}

/// A clock that ends at its first tick.
[[noreturn]] void runToFirstTick()
{
    HookedHost host;
    DataEnvironment environment;
    host.onNow = [] { std::_Exit(0); };
    frmMain window(host, environment);
    window.Show();
    QApplication::exec();
    std::_Exit(1);
}

void benchmarkStart()
{
    constexpr int Rounds = 21;
    const Workplace workplace;
    const QByteArray self = QCoreApplication::applicationFilePath().toLocal8Bit();
    for (const char *kind : {"first-tick", "empty-window-first-tick"}) {
        std::vector<double> times;
        std::vector<double> peaks;
        for (int i = 0; i < Rounds; ++i) {
            QElapsedTimer timer;
            timer.start();
            const pid_t child = fork();
            if (child == 0) {
                execl(self.constData(), self.constData(), kind, nullptr);
                std::_Exit(1);
            }
            int status = 0;
            rusage usage = {};
            if (wait4(child, &status, 0, &usage) != child || status != 0)
                giveUp("the started process failed");
            times.push_back(elapsed(timer));
            peaks.push_back(static_cast<double>(usage.ru_maxrss) / 1000);
        }
        row((kind == QLatin1String("first-tick") ? QStringLiteral("start to first tick")
                                                 : QStringLiteral("the same of an empty window")) +
                QStringLiteral("; peak memory"),
            QStringLiteral("%1 ms; %2 MB")
                .arg(quantile(times, 0.5), 0, 'f', 0)
                .arg(quantile(peaks, 0.5), 0, 'f', 1));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Measures the clock, with files in the current folder, and prints rows of a table.\n\n"
        "  punch [ROWS...]   a punch on tables of so many stored ones (0 1000000)\n"
        "  idle [SECONDS]    processor time and wake-ups without a card (30)\n"
        "  start             start to first tick, and peak memory\n"
        "  tick              the parts of a tick\n"
        "  driver            frames a second\n"
        "  soak [SWIPES]     memory and files over many swipes (1000)"));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("what"), QStringLiteral("one of the above"));
    parser.process(application);
    QStringList arguments = parser.positionalArguments();
    const QString what = arguments.isEmpty() ? QString() : arguments.takeFirst();

    try {
        if (what == u"punch") {
            benchmarkPunch(arguments.isEmpty()
                               ? QStringList{QStringLiteral("0"), QStringLiteral("1000000")}
                               : arguments);
        } else if (what == u"idle") {
            benchmarkIdle(arguments.isEmpty() ? 30 : arguments[0].toDouble());
        } else if (what == u"start") {
            benchmarkStart();
        } else if (what == u"tick") {
            benchmarkTick();
        } else if (what == u"driver") {
            benchmarkDriver();
        } else if (what == u"soak") {
            benchmarkSoak(arguments.isEmpty() ? 1000 : std::max(10, arguments[0].toInt()));
        } else if (what == u"first-tick") {
            runToFirstTick();
        } else if (what.startsWith(u"empty-window")) {
            runEmptyWindow(what.endsWith(u"tick"));
        } else {
            parser.showHelp(1);
        }
    } catch (const Failure &failure) {
        giveUp(qPrintable(failure.description));
    }
    return 0;
}
