#pragma once

#include "clock/ClockFace.h"
#include "clock/SwipeHandling.h"
#include "platform/host/Host.h"

#include <QTimer>

namespace Tavrel
{

/// The program's periodic work, at most every 100 ms: with auto-switch on, selects the punch type
/// by the time of day; then updates the clock face and polls the reader.
///
/// A poll delivers events while it waits, so ticks run inside it. They do everything except poll:
/// the clock keeps running during a reader wait, a dialog or a message box, and a poll never starts
/// inside another.
class Tick
{
public:
    /// Starts the timer; the first tick comes from the event loop.
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
