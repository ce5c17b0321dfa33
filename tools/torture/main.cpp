// The trials of scripts/torture that need more punches, or more hours, than a started clock has the
// time for. Each prints a line of counts and ends with status 0 when nothing was missed.

#include "app/frmMain.h"
#include "app/settings/SettingsStore.h"
#include "app/settings/UserSettings.h"
#include "platform/host/EventLoopHost.h"
#include "platform/text/RegionalFormat.h"
#include "store/DataEnvironment.h"
#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTimerEvent>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <random>

namespace
{

/// The real machine without message boxes, which are counted: no trial here gives reason for one.
class TrialHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &, MsgBoxIcon) override
    {
        std::fprintf(stderr, "torture: a message box: %s\n", qPrintable(text));
        ++boxes;
    }
    int boxes = 0;
};

/// The first value of a query, by a connection of its own.
QString stored(const char *query)
{
    sqlite3 *database = nullptr;
    QString text = QStringLiteral("nothing");
    const auto take = [](void *taken, int, char **values, char **) {
        *static_cast<QString *>(taken) = QString::fromUtf8(values[0]);
        return 0;
    };
    sqlite3_open("Orvanta.mdb", &database);
    sqlite3_exec(database, query, take, &text, nullptr);
    sqlite3_close(database);
    return text;
}

qsizetype openFiles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

long residentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/statm"));
    return status.open(QIODevice::ReadOnly)
               ? status.readAll().split(' ')[1].toLong() * (sysconf(_SC_PAGESIZE) / 1024)
               : 0;
}

/// A frame of which the line has only the beginning until the driver waits for the rest.
class CutFrameHost : public TrialHost
{
public:
    explicit CutFrameHost(VirtualReader &reader) : m_reader(reader) {}
    void DoEvents(std::int32_t longestWait) override
    {
        m_reader.send(std::exchange(rest, {}));
        TrialHost::DoEvents(longestWait);
    }
    QByteArray rest;

private:
    VirtualReader &m_reader;
};

/// So many badges through line, driver, look-up and store, every other frame cut in the middle.
bool throughDriverAndStore(int count, VirtualReader &reader, DataEnvironment &environment,
                           std::mt19937 &random)
{
    CutFrameHost host(reader);
    ReaderConnection connection(host);
    connection.ConnectReader();
    int misread = 0;
    long memory = 0;
    qsizetype files = 0;
    for (int i = 0; i < count; ++i) {
        const QByteArray frame = "\2%" + QByteArray(static_cast<int>(random() % 80), 'A') + "?;" +
                                 QByteArray::number(i) + "?\3";
        const auto cut = i % 2 ? frame.size() : static_cast<qsizetype>(random() % frame.size());
        host.rest = frame.mid(cut);
        reader.send(frame.left(cut));

        QString track1, badge, track3, name;
        if (connection.reader().ReadTracks(200, track1, badge, track3) != CMRW::Success ||
            badge != QString::number(i))
            ++misread;
        GetEmployeeName(host, environment, badge, name);
        SavePunch(host, environment, badge, host.Now(), 1);
        if (i == count / 4) { // the page cache is full, or as full as it will be
            memory = residentKilobytes();
            files = openFiles();
        }
    }
    memory = residentKilobytes() - memory;
    files = openFiles() - files;
    const QString rows = stored("SELECT count(*) FROM RawDataDetails");
    const QString badges = stored("SELECT count(DISTINCT PersonalID) FROM RawDataDetails "
                                  "WHERE PersonalID + 0 < (SELECT RecordCount FROM RawData)");
    std::printf("%d frames, %d misread, %s rows, %s badges, %d boxes, %ld kB and %d files more\n",
                count, misread, qPrintable(rows), qPrintable(badges), host.boxes, memory,
                static_cast<int>(files));
    return misread == 0 && rows == QString::number(count) && badges == rows && host.boxes == 0 &&
           memory < 2048 && files <= 0;
}

/// Time that passes as fast as the clock can follow: while somebody waits, and between ticks.
class FastHost : public TrialHost
{
public:
    explicit FastHost(const QDateTime &start) : milliseconds(start.toMSecsSinceEpoch()) {}
    std::int32_t GetTickCount() override { return static_cast<std::int32_t>(milliseconds); }
    void DoEvents(std::int32_t longestWait) override
    {
        TrialHost::DoEvents(0);
        milliseconds += std::clamp(longestWait, 1, 50);
    }
    QDateTime Now() override { return at(milliseconds); }
    static QDateTime at(qint64 moment)
    {
        return QDateTime::fromMSecsSinceEpoch(moment / 1000 * 1000);
    }
    qint64 milliseconds;
};

/// Takes the waiting out of the timer whose name it is, once that has begun to tick.
class Hurry : public QObject
{
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (auto *timer = qobject_cast<QTimer *>(object);
            timer && event->type() == QEvent::Timer && timer->objectName() == u"Timer1")
            timer->setInterval(0);
        return false;
    }
};

/// What the window has to show at a moment, and a punch of then has to hold.
struct Expected {
    explicit Expected(const QDateTime &now)
        : digits(now.toString(QStringLiteral("HHmmss"))), date(formatLongDate(now)),
          stored(now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
    {
        const auto sinceClockIn = [](const QTime &time) {
            return (ClockIn.secsTo(time) + Day) % Day;
        };
        clockIn = sinceClockIn(now.time()) < sinceClockIn(ClockOut);
    }
    bool isShown(const ClockFace &face) const
    {
        for (int k = 0; k < digits.size(); ++k) {
            const QWidget *digit = face.img(k * 10 + digits[k].digitValue());
            if (digit->parent()->children().back() != digit)
                return false;
        }
        return face.txtDate->text() == date && face.optEvent(0)->Value() == clockIn;
    }

    static constexpr int Day = 86400;
    static inline const QTime ClockIn{23, 55}, ClockOut{1, 55, 30};
    QString digits, date, stored;
    bool clockIn = false;
};

/// A stretch of ticks around a moment: at each the window shows what the time wants, and a badge
/// every so often is stored with the time and the type that the window then has.
bool ticksAround(const char *moment, int minutes, VirtualReader &reader,
                 DataEnvironment &environment, std::mt19937 &random)
{
    constexpr int Lag = 100; // between the last look at the time and now
    FastHost host(QDateTime::fromString(QLatin1String(moment), Qt::ISODate));
    const qint64 end = host.milliseconds + minutes * 30000LL;
    host.milliseconds -= minutes * 30000LL;
    frmMain window(host, environment);
    window.Show();
    QCoreApplication::processEvents();
    const auto tick = [] {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    };

    tick();
    int looks = 0, wrong = 0, swipes = 0, missed = 0;
    for (qint64 nextSwipe = 0; host.milliseconds < end; ++looks) {
        tick();
        const Expected now(host.Now());
        if (!now.isShown(window.face) &&
            !Expected(FastHost::at(host.milliseconds - Lag)).isShown(window.face))
            ++wrong;
        if (host.milliseconds < nextSwipe)
            continue;

        nextSwipe = host.milliseconds + 30000 + random() % 60000;
        const QByteArray badge = moment + QByteArray::number(++swipes);
        reader.send("\2;" + badge + "?\3");
        tick();
        const QString row = stored("SELECT PersonalID || DateTime || EventStatus FROM "
                                   "RawDataDetails ORDER BY rowid DESC LIMIT 1");
        const auto stands = [&](const Expected &then) {
            return row == badge + then.stored + (then.clockIn ? '1' : '0');
        };
        if (!stands(now) && !stands(Expected(host.Now())))
            ++missed;
    }
    const QString rows = stored(QByteArray("SELECT count(*) FROM RawDataDetails WHERE PersonalID "
                                           "LIKE '") +
                                moment + "%'");
    std::printf("%d min around %s: %d looks, %d wrong, %d swipes, %s rows, %d missed, %d boxes\n",
                minutes, moment, looks, wrong, swipes, qPrintable(rows), missed, host.boxes);
    return wrong == 0 && missed == 0 && host.boxes == 0 && rows == QString::number(swipes);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "torture frames COUNT SEED | torture ticks MINUTES SEED\n"
                             "works on Orvanta.mdb in the current folder, and on COM1\n");
        return 2;
    }
    const int amount = arguments[2].toInt();
    std::mt19937 random(arguments[3].toUInt());
    DataEnvironment environment;
    environment.conOV.ConnectionString(connectionString(QStringLiteral(".")));
    try {
        VirtualReader reader;
        reader.linkAt(settingsFolder(ApplicationTitle) + QStringLiteral("/COM1"));
        if (arguments[1] == u"frames")
            return throughDriverAndStore(amount, reader, environment, random) ? 0 : 1;

        // Midnight, and the two changes of daylight saving in the zone of New York.
        qputenv("TZ", "EST5EDT,M3.2.0,M11.1.0");
        UserSettings::write(UserSettings::ClockIn, Expected::ClockIn.toString());
        UserSettings::write(UserSettings::ClockOut, Expected::ClockOut.toString());
        UserSettings::write(UserSettings::AutoSwitch, QStringLiteral("1"));
        Hurry hurry;
        application.installEventFilter(&hurry);
        bool good = true;
        for (const char *moment :
             {"2026-03-07T05:00:00Z", "2026-03-08T07:00:00Z", "2026-11-01T06:00:00Z"})
            good &= ticksAround(moment, amount, reader, environment, random);
        return good ? 0 : 1;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "torture: %s\n", qPrintable(failure.description));
        return 1;
    }
}
