#include "clock/Tick.h"

#include "app/settings/UserSettings.h"
#include "clock/AutoSwitch.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"
#include "platform/text/DatesAndTimes.h"

#include <QScopedValueRollback>

#include <chrono>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::chrono::milliseconds Interval{100};

} // namespace

Tick::Tick(Host &host, ClockFace &face, SwipeHandling &swipeHandling)
    : m_host(host), m_face(face), m_swipeHandling(swipeHandling)
{
    Timer1.setObjectName(u"Timer1"_s);
    Timer1.setTimerType(Qt::PreciseTimer);
    QObject::connect(&Timer1, &QTimer::timeout, [this] {
        // Qt does not deliver a timer again while its handler runs. Restarted, it is a new timer to
        // Qt, and continues to tick inside any dialog that this tick opens.
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
        // If the settings cannot be parsed the selection stays, and the rest of the tick runs.
    }
    showTime();
    m_face.txtDate->Text(formatLongDate(m_host.Now()));
    pollOnce();
}

void Tick::autoSwitch()
{
    constexpr std::int16_t SwitchedOn = 1;

    const double clockIn = timeText(UserSettings::read(UserSettings::ClockIn));
    const double clockOut = timeText(UserSettings::read(UserSettings::ClockOut));
    if (strictNumber(UserSettings::read(UserSettings::AutoSwitch)) != SwitchedOn)
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
    const QScopedValueRollback polling(m_polling, true);
    m_swipeHandling.PollCard();
}

} // namespace Tavrel
