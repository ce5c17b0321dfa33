// Swipes badges at the clock's window in one process: more of them than a tick of 100 ms leaves
// time for, or one a minute on simulated days. scripts/torture runs it, in a folder with a
// database, as `flight frames COUNT SEED` or `flight ticks MINUTES SEED`.

#include "app/frmMain.h"
#include "app/settings/SettingsStore.h"
#include "app/settings/UserSettings.h"
#include "platform/database/Statement.h"
#include "platform/host/EventLoopHost.h"
#include "platform/text/DatesAndTimes.h"
#include "store/DataEnvironment.h"
#include "tests/support/RecordingHost.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTimerEvent>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

using namespace Tavrel;
using namespace Qt::StringLiterals;

namespace
{

/// Sets the interval of the tick's timer to 0 once it has ticked.
class Hurry : public QObject
{
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (auto *timer = qobject_cast<QTimer *>(object);
            timer && event->type() == QEvent::Timer && timer->objectName() == u"Timer1" &&
            timer->interval() != 0) // with Qt 6.8, the timer that it restarts misses this event
            timer->setInterval(0);
        return false;
    }
};

/// The process's memory in kilobytes and the number of its open files.
std::pair<long, long> resources()
{
    QFile status(u"/proc/self/statm"_s);
    Failure::unless(status.open(QIODevice::ReadOnly));
    return {status.readAll().split(' ')[1].toLong() * (sysconf(_SC_PAGESIZE) / 1024),
            QDir(u"/proc/self/fd"_s).entryList(QDir::System).size()};
}

/// Clock In lasts from before a midnight to before the changes of daylight saving.
const QTime ClockIn(23, 55), ClockOut(1, 55, 30);

bool isClockIn(const QDateTime &now)
{
    return now.time() >= ClockIn || now.time() < ClockOut;
}

/// A clock with its host and reader. If a start is given, in milliseconds since 1970, time is
/// simulated and advances by as much as each caller is willing to wait. After each tick the window
/// must show the current time, date and type, and each punch must have them.
class Trial : RecordingHost<EventLoopHost>
{
public:
    Trial(std::mt19937 &random, qint64 start = 0) : m_random(random), m_flying(start)
    {
        for (DataEnvironment *environment : {&m_environment, &m_witness})
            environment->conOV.ConnectionString(connectionString(u"."_s));
        m_reader.linkAt(settingsFolder(ApplicationTitle) + u"/COM1"_s);
        m_window.Show();
        while (m_window.face.txtDate->text().isEmpty())
            QCoreApplication::processEvents();
    }

    /// Swipes `count` badges, each at a random moment of its own `span` of milliseconds. Prints the
    /// counts, and returns whether all checks held.
    bool run(int count, int span)
    {
        const qint64 start = time();
        const QString name = Now().toString(u"yyyyMMddHHmm");
        auto [kilobytes, files] = resources();
        for (int i = 0; i < count && m_missed < 5; ++i) {
            const qint64 end = start + qint64{span} * (i + 1);
            tickUntil(end - (span ? m_random() % span : 0));
            swipe(name.toLatin1() + ':' + QByteArray::number(i));
            tickUntil(end);
            if (i == count / 2) // the page cache is full
                std::tie(kilobytes, files) = resources();
        }
        kilobytes = resources().first - kilobytes;
        files = resources().second - files;
        const QString rows = stored(u"SELECT count(*) FROM RawDataDetails "
                                    "WHERE PersonalID LIKE '%1:%'"_s.arg(name));
        must(kilobytes < 1024 && files <= 0 && rows == QString::number(count) && boxes.isEmpty());
        std::printf("%s %d swiped, %s stored, %d ticks, %ld kB and %ld files more, %d missed%s\n",
                    qPrintable(name), count, qPrintable(rows), m_ticks, kilobytes, files, m_missed,
                    qPrintable(boxes.join(u'\n')));
        return m_missed == 0;
    }

private:
    void DoEvents(std::int32_t longestWait) override
    {
        m_reader.send(std::exchange(m_restOfFrame, {}));
        EventLoopHost::DoEvents(m_flying ? 0 : longestWait);
        m_flying += m_flying ? std::clamp(longestWait, 1, 50) : 0;
    }
    qint64 time() const { return m_flying ? m_flying : QDateTime::currentMSecsSinceEpoch(); }
    std::int32_t GetTickCount() override { return static_cast<std::int32_t>(time()); }
    QDateTime Now() override { return QDateTime::fromMSecsSinceEpoch(time() / 1000 * 1000); }

    /// The first value of a query, on a connection of its own.
    QString stored(const QString &query)
    {
        Statement statement(m_witness.conOV, query);
        return statement.step() ? statement.value(0).toVariant().toString() : QString();
    }

    /// In real time the frame arrives in two parts, the second while the driver waits for it.
    void swipe(const QByteArray &badge)
    {
        const QByteArray frame = "\2%" + QByteArray(m_random() % 80, 'A') + "?;" + badge + "?\3";
        const qsizetype cut = m_flying ? frame.size() : m_random() % frame.size();
        m_restOfFrame = frame.mid(cut);
        m_reader.send(frame.left(cut));

        QString row;
        const QDeadlineTimer deadline(std::chrono::seconds(30));
        do {
            tick();
            row = stored(u"SELECT PersonalID || DateTime || EventStatus "
                         "FROM RawDataDetails ORDER BY rowid DESC LIMIT 1"_s);
        } while (!row.startsWith(badge) && !deadline.hasExpired());
        mustHold([&](const QDateTime &now) {
            return row.startsWith(badge + now.toString(u"yyyy-MM-dd HH:mm:ss").toLatin1());
        });
        mustHold([&](const QDateTime &now) { return row.endsWith(isClockIn(now) ? u'1' : u'0'); });
    }

    void tickUntil(qint64 moment)
    {
        while (time() < moment)
            tick();
    }

    void tick()
    {
        ++m_ticks;
        m_tickBegin = time();
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        mustHold([this](const QDateTime &now) { return isShown(now); });
    }

    bool isShown(const QDateTime &now) const
    {
        const ClockFace &face = m_window.face;
        const QString digits = now.toString(u"HHmmss");
        for (int k = 0; k < digits.size(); ++k) {
            const QWidget *digit = face.img(k * 10 + digits[k].digitValue());
            if (digit->parent()->children().back() != digit)
                return false;
        }
        return face.txtDate->text() == formatLongDate(now) &&
               face.optEvent(0)->Value() == isClockIn(now);
    }

    /// Checks that `holds` is true for one of the seconds of the last tick.
    template <typename Predicate> void mustHold(const Predicate &holds)
    {
        const qint64 end = time();
        bool held = holds(QDateTime::fromMSecsSinceEpoch(end));
        for (qint64 moment = m_tickBegin; moment < end && !held; moment += 1000)
            held = holds(QDateTime::fromMSecsSinceEpoch(moment));
        must(held);
    }

    void must(bool held) { m_missed += held ? 0 : 1; }

    std::mt19937 &m_random;
    qint64 m_flying; ///< the simulated time; 0 in real time
    qint64 m_tickBegin = 0;
    int m_ticks = 0;
    int m_missed = 0;
    VirtualReader m_reader;
    QByteArray m_restOfFrame;
    DataEnvironment m_environment, m_witness;
    frmMain m_window{*this, m_environment};
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const int count = arguments.at(2).toInt();
    std::mt19937 random(arguments.at(3).toUInt());
    Hurry hurry;
    application.installEventFilter(&hurry);
    try {
        qputenv("TZ", "EST5EDT,M3.2.0,M11.1.0"); // New York
        UserSettings::write(UserSettings::ClockIn, ClockIn.toString());
        UserSettings::write(UserSettings::ClockOut, ClockOut.toString());
        UserSettings::write(UserSettings::AutoSwitch, u"1"_s);
        if (arguments[1] == u"frames")
            return Trial(random).run(count, 0) ? 0 : 1;

        bool good = true; // around midnight, and around both changes of daylight saving
        for (const qint64 change : {1772859600LL, 1772953200LL, 1793512800LL})
            good &= Trial(random, (change - qint64{count} * 30) * 1000).run(count, 60000);
        return good ? 0 : 1;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "flight: %s\n", qPrintable(failure.description));
        return 1;
    }
}
