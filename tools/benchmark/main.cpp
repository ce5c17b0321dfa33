#include "app/frmMain.h"
#include "platform/basics/Failure.h"
#include "platform/windows/DesktopHost.h"
#include "platform/windows/Twips.h"
#include "store/DataEnvironment.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace
{

[[noreturn]] void giveUp(const char *why)
{
    std::fprintf(stderr, "benchmark: %s\n", why);
    std::exit(1);
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double processorSeconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) { return time.tv_sec + time.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
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

/// The real machine, with a hook where a poll waits for a card and one where a tick begins.
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

void makeDatabase(const QString &path, qlonglong rows)
{
    QFile schema(QStringLiteral(":/store/schema.sql"));
    if (!schema.open(QIODevice::ReadOnly))
        giveUp("no sample schema");
    BareDatabase database(path);
    database.run(schema.readAll());
    database.run("INSERT INTO Employee VALUES ('1001', 'Anna Example')");
    database.run("INSERT INTO RawData VALUES (0, 0, '2026-01-01 00:00:00', 'MSR')");
    database.run("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT " +
                 QByteArray::number(rows) +
                 ") INSERT INTO RawDataDetails SELECT 0, i, 1, '2026-01-01 00:00:00', 0, 0 "
                 "FROM n WHERE " +
                 QByteArray::number(rows) + " > 0");
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

void runEventsFor(double seconds)
{
    QElapsedTimer timer;
    timer.start();
    runEvents([&] { return timer.elapsed() > seconds * 1000; });
}

/// A clock at work: on a database with so many stored punches, and on a reader if its port is to
/// open.
struct Clock {
    explicit Clock(qlonglong rows, bool portOpens = true)
    {
        makeDatabase(workplace.path(QStringLiteral("Orvanta.mdb")), rows);
        if (portOpens)
            reader.linkAt(workplace.comLink());
        else
            QFile::link(QStringLiteral("/nowhere"), workplace.comLink());
        environment.conOV.ConnectionString(connectionString(workplace.path(QStringLiteral("."))));
        window.Show();
    }

    /// Swipes a badge and returns the milliseconds from the last byte of its frame, met by a
    /// running poll, to the return of the tick that has stored it.
    double swipe()
    {
        QElapsedTimer timer;
        bool swiped = false;
        host.insidePoll = [&] {
            swiped = true;
            timer.start();
            reader.send("\2;1001?\3");
        };
        runEvents([&] { return swiped; });
        return static_cast<double>(timer.nsecsElapsed()) / 1e6;
    }

    Workplace workplace;
    VirtualReader reader;
    HookedHost host;
    DataEnvironment environment;
    frmMain window{host, environment};
};

void benchmarkPunch(const QStringList &sizes)
{
    constexpr int Rounds = 101;
    std::printf("stored punches   bare commits (ms)   a punch (ms)   limit: bare + 2 (ms)\n");
    for (const QString &size : sizes) {
        Clock clock(size.toLongLong());
        const QString bareFile = clock.workplace.path(QStringLiteral("bare"));
        QFile::copy(clock.workplace.path(QStringLiteral("Orvanta.mdb")), bareFile);
        BareDatabase bare(bareFile);

        std::vector<double> bareTimes;
        std::vector<double> punchTimes;
        for (int i = 0; i < Rounds; ++i) {
            punchTimes.push_back(clock.swipe());
            closePunchInformation();
            QElapsedTimer timer;
            timer.start();
            bare.run("UPDATE RawData SET RecordCount = RecordCount + 1, "
                     "DateTime = '2026-01-01 00:00:01' WHERE rowid = 1");
            bare.run("INSERT INTO RawDataDetails VALUES (0, '1001', 1, '2026-01-01 00:00:01', 0, "
                     "0)");
            bareTimes.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
        std::printf("%14s   %17.2f   %12.2f   %20.2f\n", qPrintable(size), median(bareTimes),
                    median(punchTimes), median(bareTimes) + 2);
    }
}

void benchmarkIdle(double seconds, bool portOpen)
{
    Clock clock(0, portOpen);
    runEventsFor(2);

    int readings = 0; // a tick reads the clock twice
    clock.host.onNow = [&] { ++readings; };
    const double before = processorSeconds();
    runEventsFor(seconds);
    const double used = processorSeconds() - before;
    std::printf(
        "idle, port %s: %.2f %% of one core over %.0f s; %.2f ms a tick, everything included\n",
        portOpen ? "open  " : "closed", 100 * used / seconds, seconds, 1000 * used * 2 / readings);
}

void benchmarkSoak(int swipes)
{
    Clock clock(0);
    std::printf("swipes   resident memory (kB)   open files\n");
    for (int i = 0; i <= swipes; ++i) {
        clock.swipe();
        if (i % 3 == 0)
            closePunchInformation();
        if (i % (swipes / 10) == 0) {
            QFile status(QStringLiteral("/proc/self/statm"));
            if (!status.open(QIODevice::ReadOnly))
                giveUp("no /proc");
            const qlonglong pages = status.readAll().split(' ')[1].toLongLong();
            const auto files =
                QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
            std::printf("%6d   %20lld   %10d\n", i, pages * sysconf(_SC_PAGESIZE) / 1024,
                        static_cast<int>(files));
        }
    }
}

/// What a process started by benchmarkStart is: a clock, or an empty window of the same size, up
/// to its first tick.
[[noreturn]] void runToFirstTick(bool clock)
{
    HookedHost host;
    DataEnvironment environment;
    if (clock) {
        host.onNow = [] { std::_Exit(0); };
        frmMain window(host, environment);
        window.Show();
        QApplication::exec();
    } else {
        QWidget window;
        window.setFixedSize(pixels(ClockFace::ClientWidth), pixels(ClockFace::ClientHeight));
        window.show();
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [] { std::_Exit(0); });
        timer.start(100);
        QApplication::exec();
    }
    std::_Exit(1);
}

void benchmarkStart(const char *program)
{
    constexpr int Rounds = 21;
    const Workplace workplace;
    std::printf("                start to first tick (ms)   peak memory (kB)\n");
    for (const char *kind : {"empty window", "clock"}) {
        std::vector<double> times;
        std::vector<double> peaks;
        for (int i = 0; i < Rounds; ++i) {
            QElapsedTimer timer;
            timer.start();
            const pid_t child = fork();
            if (child == 0) {
                execl(program, program, "first-tick", kind, nullptr);
                std::_Exit(1);
            }
            int status = 0;
            rusage usage = {};
            if (wait4(child, &status, 0, &usage) != child || status != 0)
                giveUp("the started process failed");
            times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
            peaks.push_back(static_cast<double>(usage.ru_maxrss));
        }
        std::printf("%-12s    %24.1f   %16.0f\n", kind, median(times), median(peaks));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Measures the clock, with files in the current folder.\n\n"
        "  punch [ROWS...]   a punch on tables of so many stored ones (0 1000000)\n"
        "  idle [SECONDS]    processor time without a card, port open and closed (30)\n"
        "  start             start to first tick, and peak memory\n"
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
            const double seconds = arguments.isEmpty() ? 30 : arguments[0].toDouble();
            for (const bool portOpen : {true, false})
                benchmarkIdle(seconds, portOpen);
        } else if (what == u"start") {
            benchmarkStart(argv[0]);
        } else if (what == u"soak") {
            benchmarkSoak(arguments.isEmpty() ? 1000 : std::max(10, arguments[0].toInt()));
        } else if (what == u"first-tick") {
            runToFirstTick(arguments == QStringList{QStringLiteral("clock")});
        } else {
            parser.showHelp(1);
        }
    } catch (const Failure &failure) {
        giveUp(qPrintable(failure.description));
    }
    return 0;
}
