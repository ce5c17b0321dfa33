#pragma once

#include "platform/basics/Boolean.h"
#include "platform/host/Host.h"
#include "platform/serial/MSComm.h"
#include "reader/Frames.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <functional>

namespace Tavrel
{

/// Drives a magnetic-stripe card reader/writer on a serial port.
///
/// Usage: set CommPort, Settings and DeviceType, call Connect, do the work, call Disconnect. Every
/// operation returns a result code, 0 for success and negative for failure. Destroying the object
/// does nothing to the port; only Disconnect closes it.
///
/// Everything runs on one thread. Where an operation waits it delivers events, so timers and clicks
/// run inside it: that is how Cancel reaches a waiting operation, and how ReadTracks or WriteTracks
/// may be called again while the first call is waiting; the second returns 0 without doing
/// anything.
///
/// A failure of the port, or an index outside an array, shows a message box with the failure's
/// description under the application's title, and the operation returns 0. Only Connect shows
/// nothing: it returns CommportOpenFailed.
class CMRW
{
public:
    enum Result : std::int32_t {
        Success = 0,
        AlreadyConnected = -1,
        CommportOpenFailed = -2,
        NotConnected = -3,
        TimeOut = -4,
        InvalidCard = -5,
        Track1NotAllowed = -6,
        Track2NotAllowed = -7,
        Track3NotAllowed = -8,
        Cancelled = -9,
        WriteTimeOut = -10,
    };

    /// A driver on the only serial link of the process.
    explicit CMRW(Host &host);

    /// A driver on the caller's own link, which must outlive it.
    CMRW(Host &host, MSComm &link);

    /// Opens the port with the current CommPort and Settings. AlreadyConnected leaves the open port
    /// as it is; CommportOpenFailed leaves it closed.
    std::int32_t Connect();

    /// Closes the port. NotConnected if it is already closed.
    std::int32_t Disconnect();

    /// The line settings, as in "9600,N,8,1"; they take effect at the next Connect.
    QString Settings() const { return m_sSettings; }
    void Settings(const QString &i_sSettings) { m_sSettings = i_sSettings; }

    /// Sends the reader up to three track texts to write on the next card, and waits until it
    /// answers or Cancel is called; `i_iTimeout` has no effect. A track with an empty text is left
    /// out. Character codes 32 to 95 are allowed on track 1, 48 to 62 on the others.
    ///
    /// Success: the reader has not refused, or a write is already running. The tracks are checked
    /// in order before the port is: Track1NotAllowed, Track2NotAllowed or Track3NotAllowed, with
    /// nothing sent. Otherwise NotConnected, InvalidCard (the reader answered NAK), WriteTimeOut
    /// (it answered 29) or Cancelled; an answer that arrives after Cancel is left to the next read
    /// or write. An answer of one byte is Failure::SubscriptOutOfRange, a text of more than 32767
    /// characters Failure::Overflow.
    std::int32_t WriteTracks(std::int16_t i_iTimeout, QString i_sTrack1, QString i_sTrack2,
                             QString i_sTrack3);

    /// Reads one swipe. `i_iTimeout`, in milliseconds: the read gives up when nothing has arrived
    /// for longer than that; with 0 or less it ends only with a complete frame or with Cancel. A
    /// track in the frame replaces the text passed for it; the others are unchanged, and so are all
    /// three unless the result is Success.
    ///
    /// Success: a frame has ended, whether or not it has a track, or a read is already running.
    /// Otherwise NotConnected, TimeOut, InvalidCard (the reader answered NAK) or Cancelled. What an
    /// unsuccessful read has received is lost.
    std::int32_t ReadTracks(std::int16_t i_iTimeout, QString &o_sTrack1, QString &o_sTrack2,
                            QString &o_sTrack3);

    /// The port number, counted from 1; it takes effect at the next Connect.
    std::int32_t CommPort() const { return m_lCommPort; }
    void CommPort(std::int32_t i_CommPort) { m_lCommPort = i_CommPort; }

    /// Chooses the end sentinel for writing: 0 for "?", 1 for "<". Any other value is stored and
    /// changes no sentinel. Reading always accepts both.
    std::int32_t DeviceType() const { return m_lDeviceType; }
    void DeviceType(std::int32_t i_DeviceType);

    /// Asks the reader to describe itself, and returns its whole answer in `o_bSpec`.
    ///
    /// Success: the answer is STX followed by anything but NAK. NotConnected: any other answer;
    /// `o_bSpec` holds it, too. TimeOut: no answer within about 1.6 s; one that comes after about
    /// 1.1 s is not read either and stays in the port. `o_bSpec` is unchanged on TimeOut and if the
    /// port is closed, which is failure ENOTCONN here. An answer of STX alone is
    /// Failure::SubscriptOutOfRange, with the byte in `o_bSpec`.
    std::int32_t DownloadCommand(QByteArray &o_bSpec);

    /// Sets the reader's line parameters. `i_sBaudRate`: rate, comma, parity letter in lower case,
    /// then anything, as in "9600,e,8,1"; rates 1200, 2400, 4800 and 9600; parities o, e, m, s and
    /// n, of which s and n are sent alike; any other rate counts as 1200, any other parity as odd.
    /// `i_blnBCC`: only exactly True requests a block check byte in what is written.
    /// `i_sOldParity`: the current parity letter of the line.
    ///
    /// Results as for DownloadCommand, TimeOut after about 1.1 s. BCC, Settings and the open port
    /// do not change: the caller must make them match the reader. A closed port is failure
    /// ENOTCONN; an old parity that is not text is Failure::TypeMismatch.
    std::int32_t SetBaudRate_BCC(const QString &i_sBaudRate, Boolean i_blnBCC,
                                 const QVariant &i_sOldParity);

    /// Whether written frames carry a block check byte; only exactly True counts as yes.
    Boolean BCC() const { return m_blnBCC; }
    void BCC(Boolean i_blnBCC) { m_blnBCC = i_blnBCC; }

    /// Shows the text of a result code in a message box with the critical-stop icon; nothing for a
    /// code with an empty text.
    void ShowErrorDescription(std::int32_t i_lResult);

    /// Sets `o_sMessage` to the text of a result code; "Unknown error code." for a code that has
    /// none.
    void ErrorDescription(std::int32_t i_lResult, QString &o_sMessage) const;

    /// Cancels the read or write that is waiting; without one, has no effect.
    void Cancel() { m_blnCancel = True; }

    /// Which end sentinel came first in the last read that received one: 0 for "?", 1 for "<";
    /// initially 0.
    std::int32_t ReadTrackDataType() const { return m_lReadTrackDataType; }

private:
    void Delay(std::int32_t i_lMilliseconds);
    bool answerArrives(int polls, int &poll);
    std::int32_t write(const Frames::Tracks &tracks);
    std::int32_t operate(const std::function<std::int32_t()> &operation);
    std::int32_t receiveFrame(std::int16_t i_iTimeout, Frames::ReceiveBuffer &frame);

    Host &m_host;

    Frames::StartSentinels m_StartSentinels = Frames::DefaultStartSentinels;
    Frames::EndSentinels m_EndSentinels = Frames::DefaultEndSentinels;
    MSComm &m_Comm;
    QString m_sSettings;
    std::int32_t m_lCommPort = 0;
    char m_CurrentEndSentinel = m_EndSentinels[0];
    std::int32_t m_lDeviceType = 0;
    Boolean m_blnBCC = False;
    Boolean m_blnCancel = False;
    std::int32_t m_lReadTrackDataType = 0;
    Boolean m_blnWriteBusy = False;
    Boolean m_blnReadBusy = False;
};

} // namespace Tavrel
