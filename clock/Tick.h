#pragma once

#include "clock/ClockFace.h"
#include "clock/SwipeHandling.h"
#include "platform/host/Host.h"

#include <QTimer>

namespace Tavrel
{

/// The program's heartbeat: at most every 100 ms it lets the time of day choose the
/// punch type, if it may, brings the clock face up to date and then polls the reader.
///
/// A poll delivers events while it waits, so ticks fall due inside it. They do everything but the
/// poll: the clock goes on under a reader wait, a dialog or a message box, and no poll ever
/// starts inside another.
class Tick
{
public:
    /// The timer runs from now on; the first tick comes with the event loop.
    Tick(Host &host, ClockFace &face, SwipeHandling &swipeHandling);

private:
    void Timer1_Timer();
    void autoSwitch();
    void showTime();
    void pollOnce();

    Host &m_host;
    ClockFace &m_face;
    SwipeHandling &m_swipeHandling;
    QTimer Timer1;
    bool m_polling = false;
};

} // namespace Tavrel
