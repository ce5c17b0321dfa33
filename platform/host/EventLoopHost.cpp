#include "platform/host/EventLoopHost.h"

#include <QAbstractEventDispatcher>
#include <QTimer>

#include <chrono>
#include <cstdlib>

namespace Tavrel
{

std::int32_t EventLoopHost::GetTickCount()
{
    using namespace std::chrono;
    const auto sinceStart = steady_clock::now().time_since_epoch();
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(duration_cast<milliseconds>(sinceStart).count()));
}

void EventLoopHost::DoEvents(std::int32_t longestWait)
{
    // With WaitForMoreEvents the dispatcher waits only if nothing is pending; the timer ends the
    // wait.
    QTimer limit;
    QEventLoop::ProcessEventsFlags flags = QEventLoop::AllEvents;
    if (longestWait > 0) {
        limit.setTimerType(Qt::PreciseTimer);
        limit.start(longestWait);
        flags |= QEventLoop::WaitForMoreEvents;
    }
    QAbstractEventDispatcher::instance()->processEvents(flags);
}

QDateTime EventLoopHost::Now()
{
    QDateTime now = QDateTime::currentDateTime();
    now.setTime(QTime(now.time().hour(), now.time().minute(), now.time().second()));
    return now;
}

void EventLoopHost::End()
{
    std::quick_exit(0);
}

} // namespace Tavrel
