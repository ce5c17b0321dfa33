#include "reader/CMRW.h"

#include "platform/Failure.h"
#include "reader/frmCMRW.h"

#include <algorithm>
#include <array>
#include <limits>

namespace
{

struct ResultText {
    std::int32_t result;
    const char *text;
};

/// TimeOut has no text of its own.
constexpr std::array ResultTexts{
    ResultText{CMRW::AlreadyConnected, "Device is already connected."},
    ResultText{CMRW::CommportOpenFailed, "Commport open failed."},
    ResultText{CMRW::NotConnected, "Device is not connected."},
    ResultText{CMRW::InvalidCard, "Invalid swipe magnetic card or device settings."},
    ResultText{CMRW::Track1NotAllowed, "The track1 data is not allowed."},
    ResultText{CMRW::Track2NotAllowed, "The track2 data is not allowed."},
    ResultText{CMRW::Track3NotAllowed, "The track3 data is not allowed."},
    ResultText{CMRW::Cancelled, ""},
    ResultText{CMRW::WriteTimeOut, "The writing card process time out."},
};

constexpr char UnknownResult[] = "Unknown error code.";

/// Holds a busy flag for as long as an operation runs.
class Busy
{
public:
    explicit Busy(Boolean &flag) : m_flag(flag) { m_flag = True; }
    ~Busy() { m_flag = False; }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

private:
    Boolean &m_flag;
};

/// A span of milliseconds on the host's tick count, which jumps backwards once it has reached its
/// largest value: the span is then counted from the jump.
class Span
{
public:
    explicit Span(Host &host) : m_host(host), m_mark(host.GetTickCount()) {}

    void restart() { m_mark = m_host.GetTickCount(); }

    /// Whether more than `milliseconds` have passed; exactly as many are not enough.
    bool exceeds(std::int32_t milliseconds)
    {
        const std::int32_t now = m_host.GetTickCount();
        m_mark = std::min(m_mark, now);
        return std::int64_t{now} - m_mark > milliseconds;
    }

private:
    Host &m_host;
    std::int32_t m_mark;
};

} // namespace

CMRW::CMRW(Host &host) : CMRW(host, frmCMRW::form().MSComm1) {}

CMRW::CMRW(Host &host, MSComm &link) : m_host(host), m_Comm(link) {}

std::int32_t CMRW::Connect()
{
    using PortNumbers = std::numeric_limits<std::int16_t>;
    try {
        if (m_Comm.PortOpen())
            return AlreadyConnected;
        if (m_lCommPort < PortNumbers::min() || m_lCommPort > PortNumbers::max())
            throw Failure(Failure::Overflow);
        m_Comm.CommPort(static_cast<std::int16_t>(m_lCommPort));
        m_Comm.Settings(m_sSettings);
        m_Comm.PortOpen(true);
        return Success;
    } catch (const Failure &) {
        return CommportOpenFailed;
    }
}

std::int32_t CMRW::Disconnect()
{
    return operate([this] {
        if (!m_Comm.PortOpen())
            return NotConnected;
        m_Comm.PortOpen(false);
        return Success;
    });
}

std::int32_t CMRW::ReadTracks(std::int16_t i_iTimeout, QString &o_sTrack1, QString &o_sTrack2,
                              QString &o_sTrack3)
{
    if (m_blnReadBusy)
        return Success;
    const Busy busy(m_blnReadBusy);
    m_blnCancel = False;

    return operate([&] {
        Frames::ReceiveBuffer frame;
        const std::int32_t result = receiveFrame(i_iTimeout, frame);
        if (result == Success)
            Frames::parseTracks(frame, m_StartSentinels, m_EndSentinels, o_sTrack1, o_sTrack2,
                                o_sTrack3);
        if (const auto sentinel = Frames::firstEndSentinel(frame, m_EndSentinels))
            m_lReadTrackDataType = *sentinel;
        return result;
    });
}

void CMRW::DeviceType(std::int32_t i_DeviceType)
{
    m_lDeviceType = i_DeviceType;
    if (i_DeviceType == 0 || i_DeviceType == 1)
        m_CurrentEndSentinel = m_EndSentinels[static_cast<std::size_t>(i_DeviceType)];
}

void CMRW::ShowErrorDescription(std::int32_t i_lResult)
{
    QString message;
    ErrorDescription(i_lResult, message);
    if (!message.isEmpty())
        m_host.MsgBox(message, ApplicationTitle, MsgBoxIcon::Critical);
}

void CMRW::ErrorDescription(std::int32_t i_lResult, QString &o_sMessage) const
{
    const auto found = std::ranges::find(ResultTexts, i_lResult, &ResultText::result);
    o_sMessage = QString::fromLatin1(found != ResultTexts.end() ? found->text : UnknownResult);
}

/// Runs `operation`; a failure in it becomes a message box and the result Success.
std::int32_t CMRW::operate(const std::function<std::int32_t()> &operation)
{
    try {
        return operation();
    } catch (const Failure &failure) {
        m_host.MsgBox(failure.description);
        return Success;
    }
}

/// Collects bytes until a frame has ended; then Success, or InvalidCard for one with NAK at
/// index 1. What was received stays in `frame` whatever the result.
std::int32_t CMRW::receiveFrame(std::int16_t i_iTimeout, Frames::ReceiveBuffer &frame)
{
    if (!m_Comm.PortOpen())
        return NotConnected;

    Span silence(m_host);
    for (;;) {
        if (m_Comm.InBufferCount() > 0) {
            frame.append(m_Comm.Input());
            silence.restart();
        }
        if (m_blnCancel)
            return Cancelled;
        if (i_iTimeout > 0 && silence.exceeds(i_iTimeout))
            return TimeOut;
        if (frame.hasEnded())
            return frame.at(1) == Frames::Nak ? InvalidCard : Success;
        m_host.DoEvents();
    }
}
