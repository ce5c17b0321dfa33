#include "reader/CMRW.h"

#include "platform/basics/Failure.h"
#include "reader/frmCMRW.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <array>
#include <limits>

namespace Tavrel
{

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

constexpr std::int32_t AnswerTime = 500; ///< for the rest of an answer, in milliseconds
constexpr std::int32_t PollTime = 100;   ///< from poll to poll, in milliseconds
constexpr int AcceptedPolls = 11;        ///< the polls in which an answer is accepted
constexpr int DownloadPolls = 16;        ///< the polls for the answer to a download command

/// The answer of a reader that has waited too long for a card to write.
constexpr char NoCard = 29;

constexpr char UnknownResult[] = "Unknown error code.";

/// Throws Failure::SubscriptOutOfRange if the answer is too short.
char byteAt(const QByteArray &answer, qsizetype index)
{
    if (index >= answer.size())
        throw Failure(Failure::SubscriptOutOfRange);
    return answer[index];
}

std::int32_t commandResult(const QByteArray &answer)
{
    const bool accepted = byteAt(answer, 0) == Frames::Stx && byteAt(answer, 1) != Frames::Nak;
    return accepted ? CMRW::Success : CMRW::NotConnected;
}

/// Measures milliseconds on the host's tick count. After the count has wrapped, it measures from
/// the wrap.
class Span
{
public:
    explicit Span(Host &host) : m_host(host), m_mark(host.GetTickCount()) {}

    void restart() { m_mark = m_host.GetTickCount(); }

    /// The milliseconds left until strictly more than `milliseconds` have passed; 0 from then on.
    std::int32_t left(std::int32_t milliseconds)
    {
        const std::int32_t now = m_host.GetTickCount();
        m_mark = std::min(m_mark, now);
        const std::int64_t passed = std::int64_t{now} - m_mark;
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(std::int64_t{milliseconds} + 1 - passed, 0, Host::Forever));
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

std::int32_t CMRW::WriteTracks(std::int16_t /* i_iTimeout */, QString i_sTrack1, QString i_sTrack2,
                               QString i_sTrack3)
{
    if (m_blnWriteBusy)
        return Success;
    const QScopedValueRollback busy(m_blnWriteBusy, True);
    const Frames::Tracks tracks{std::move(i_sTrack1), std::move(i_sTrack2), std::move(i_sTrack3)};
    return operate([&] { return write(tracks); });
}

std::int32_t CMRW::ReadTracks(std::int16_t i_iTimeout, QString &o_sTrack1, QString &o_sTrack2,
                              QString &o_sTrack3)
{
    if (m_blnReadBusy)
        return Success;
    const QScopedValueRollback busy(m_blnReadBusy, True);
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

std::int32_t CMRW::DownloadCommand(QByteArray &o_bSpec)
{
    return operate([&]() -> std::int32_t {
        m_Comm.Output(Frames::buildDownloadCommand());
        int poll = 0;
        if (!answerArrives(DownloadPolls, poll) || poll > AcceptedPolls)
            return TimeOut;
        o_bSpec = m_Comm.Input();
        return commandResult(o_bSpec);
    });
}

std::int32_t CMRW::SetBaudRate_BCC(const QString &i_sBaudRate, Boolean i_blnBCC,
                                   const QVariant &i_sOldParity)
{
    return operate([&]() -> std::int32_t {
        char parameters = 0;
        if (m_Comm.PortOpen()) {
            if (i_sOldParity.typeId() != QMetaType::QString)
                throw Failure(Failure::TypeMismatch);
            parameters =
                Frames::lineParameters(i_sBaudRate, i_blnBCC == True, i_sOldParity.toString());
        }
        m_Comm.Output(Frames::buildParameterCommand(parameters));
        int poll = 0;
        if (!answerArrives(AcceptedPolls, poll))
            return TimeOut;
        return commandResult(m_Comm.Input());
    });
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

/// Returns once more than `i_lMilliseconds` have passed; delivers events meanwhile.
void CMRW::Delay(std::int32_t i_lMilliseconds)
{
    operate([&] {
        Span span(m_host);
        while (span.left(i_lMilliseconds) > 0)
            m_host.DoEvents(span.left(i_lMilliseconds));
        return Success;
    });
}

/// Polls up to `polls` times for the answer to a command. Returns true once an answer has begun and
/// has had time to finish; it is not read yet. `poll` is then the number of the poll that found it,
/// counted from 1.
bool CMRW::answerArrives(int polls, int &poll)
{
    for (poll = 1; poll <= polls; ++poll) {
        Delay(PollTime);
        if (m_Comm.InBufferCount() > 0) {
            Delay(AnswerTime);
            return true;
        }
        m_host.DoEvents();
    }
    return false;
}

std::int32_t CMRW::write(const Frames::Tracks &tracks)
{
    constexpr std::array NotAllowed{Track1NotAllowed, Track2NotAllowed, Track3NotAllowed};
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (!Frames::isAllowedOnTrack(i, tracks[i]))
            return NotAllowed[i];
    }

    m_blnCancel = False;
    if (!m_Comm.PortOpen())
        return NotConnected;
    m_Comm.Output(
        Frames::buildTracks(tracks, m_StartSentinels, m_CurrentEndSentinel, m_blnBCC == True));

    while (m_Comm.InBufferCount() <= 0) {
        m_host.DoEvents(Host::Forever);
        if (m_blnCancel)
            return Cancelled;
    }
    Delay(AnswerTime);
    switch (byteAt(m_Comm.Input(), 1)) {
    case Frames::Nak:
        return InvalidCard;
    case NoCard:
        return WriteTimeOut;
    default:
        return Success;
    }
}

/// Runs `operation`; a failure in it is shown in a message box and gives the result Success.
std::int32_t CMRW::operate(const std::function<std::int32_t()> &operation)
{
    try {
        return operation();
    } catch (const Failure &failure) {
        m_host.MsgBox(failure.description);
        return Success;
    }
}

/// Collects bytes until a frame has ended, then returns Success, or InvalidCard if it has NAK at
/// index 1. With any result, `frame` keeps what was received.
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
        const std::int32_t left = i_iTimeout > 0 ? silence.left(i_iTimeout) : Host::Forever;
        if (left == 0)
            return TimeOut;
        if (frame.hasEnded())
            return frame.at(1) == Frames::Nak ? InvalidCard : Success;
        m_host.DoEvents(left);
    }
}

} // namespace Tavrel
