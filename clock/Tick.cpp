#include "clock/Tick.h"

#include "app/Settings.h"
#include "clock/AutoSwitch.h"
#include "platform/Conversions.h"
#include "platform/Failure.h"
#include "platform/RegionalFormat.h"

#include <chrono>

namespace
{

constexpr std::chrono::milliseconds Interval{100};

} // namespace

Tick::Tick(Host &host, ClockFace &face, SwipeHandling &swipeHandling)
    : m_host(host), m_face(face), m_swipeHandling(swipeHandling)
{
    Timer1.setObjectName(QStringLiteral("Timer1"));
    Timer1.setTimerType(Qt::PreciseTimer);
    QObject::connect(&Timer1, &QTimer::timeout, [this] {
        // The toolkit does not deliver a timer inside its own handler. Started anew, it is
        // another timer to it, and ticks on inside whatever this tick may open.
        Timer1.start();
        Timer1_Timer();
    });
    Timer1.start(Interval);
}

void Tick::Timer1_Timer()
{
    try {
        autoSwitch();
    } catch (const Failure &) {
        // Settings that cannot be read leave the selection alone, and the rest of the tick runs.
    }
    showTime();
    m_face.txtDate->Text(formatLongDate(m_host.Now()));
    pollOnce();
}

void Tick::autoSwitch()
{
    constexpr std::int16_t SwitchedOn = 1;

    const double clockIn = timeText(Settings::read(Settings::ClockIn));
    const double clockOut = timeText(Settings::read(Settings::ClockOut));
    if (strictNumber(Settings::read(Settings::AutoSwitch)) != SwitchedOn)
        return;

    OptionButton *wanted =
        m_face.optEvent(wantedEvent(clockIn, clockOut, timeOfDay(m_host.Now().time())));
    if (wanted->Value())
        return;
    wanted->Value(true);
    m_face.txtDate->setFocus();
}

void Tick::showTime()
{
    const QString digits = formatHHNNSS(m_host.Now());
    for (int k = 0; k < digits.size(); ++k) {
        const std::int16_t d = lenientNumber(digits.mid(k, 1));
        m_face.img(k * 10 + d)->ZOrder();
    }
    m_face.readOut(digits);
}

void Tick::pollOnce()
{
    if (m_polling)
        return;
    m_polling = true;
    m_swipeHandling.PollCard();
    m_polling = false;
}
