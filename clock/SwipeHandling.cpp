#include "clock/SwipeHandling.h"

#include "app/settings/UserSettings.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"
#include "platform/text/DatesAndTimes.h"
#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"

#include <QScopedValueRollback>

#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// How long a poll waits for a card, in milliseconds.
constexpr std::int16_t ReadTimeout = 200;

} // namespace

SwipeHandling::SwipeHandling(Host &host, ClockFace &face, ReaderConnection &connection,
                             DataEnvironment &environment,
                             OnDemand<frmPunchInformation> &punchInformation)
    : m_host(host), m_face(face), m_connection(connection), m_environment(environment),
      m_punchInformation(punchInformation)
{
}

void SwipeHandling::PollCard()
{
    try {
        const std::int16_t track = lenientNumber(UserSettings::read(UserSettings::Track));

        std::array<QString, 3> tracks;
        const std::int32_t result =
            m_connection.reader().ReadTracks(ReadTimeout, tracks[0], tracks[1], tracks[2]);
        if (result != CMRW::Success)
            return;

        if (track < 0 || static_cast<std::size_t>(track) >= tracks.size())
            throw Failure(Failure::SubscriptOutOfRange);
        punch(tracks[static_cast<std::size_t>(track)]);
    } catch (const Failure &failure) {
        m_host.MsgBox(failure.description);
    }
}

void SwipeHandling::punch(const QString &badgeNumber)
{
    constexpr std::int16_t ClockInStatus = 1;
    constexpr std::int16_t ClockOutStatus = 0;

    QString employeeName;
    GetEmployeeName(m_host, m_environment, badgeNumber, employeeName);

    m_punchInformation->txtEmployee->Text(employeeName);
    m_punchInformation->txtBadgeNumber->Text(badgeNumber);
    m_punchInformation->txtDateTime->Text(formatDateTime(m_host.Now()));
    const bool clockIn = m_face.optEvent(0)->Value();
    m_punchInformation->txtPunchType->Text(clockIn ? u"Clock In"_s : u"Clock Out"_s);
    m_punchInformation->Show();

    // The store may have to wait for other programs; the person should see the punch meanwhile.
    const QScopedValueRollback<std::function<void()>> whileLocked(
        m_environment.conOV.onLocked, [this] {
            if (m_punchInformation.IsLoaded())
                m_punchInformation->Refresh();
        });
    SavePunch(m_host, m_environment, badgeNumber, m_host.Now(),
              clockIn ? ClockInStatus : ClockOutStatus);
}

} // namespace Tavrel
