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
/// The order of use is: set CommPort, Settings and DeviceType, call Connect, do the work, call
/// Disconnect. Every function returns a result code, 0 for success and negative for failure.
/// Releasing the object does nothing to the port; only Disconnect closes it.
///
/// All of it runs on one thread. Where an operation waits it delivers events, so that timers and
/// clicks run inside it: that is how Cancel reaches a waiting operation, and how a second call
/// of ReadTracks or WriteTracks meets the first, and returns 0 without doing anything.
///
/// A failure of the port, or an index outside an array, shows a message box with the failure's
/// description under the application's title, and the operation returns 0. Connect alone shows
/// nothing, and returns CommportOpenFailed.
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

    /// A driver on the one serial link of the process.
    explicit CMRW(Host &host);

    /// A driver on a link of the caller's, which must outlive it.
    CMRW(Host &host, MSComm &link);

    /// Opens the port with what CommPort and Settings hold now. AlreadyConnected leaves the open
    /// port as it is; CommportOpenFailed leaves it closed.
    std::int32_t Connect();

    /// Closes the port. NotConnected when it is closed already.
    std::int32_t Disconnect();

    /// The line settings, as in "9600,N,8,1"; they reach the port at the next Connect.
    QString Settings() const { return m_sSettings; }
    void Settings(const QString &i_sSettings) { m_sSettings = i_sSettings; }

    /// Hands the reader up to three track texts to write on the next card, and waits until it
    /// answers or Cancel is called; `i_iTimeout` has no effect. An empty text leaves its track
    /// out. Allowed are the character codes 32 to 95 on track 1 and 48 to 62 on the others.
    ///
    /// Success: the reader has not refused; also when a write is running already. The tracks are
    /// checked in order before the port is looked at: Track1NotAllowed, Track2NotAllowed or
    /// Track3NotAllowed, with nothing sent. NotConnected, InvalidCard (the reader answered NAK),
    /// WriteTimeOut (it answered 29) or Cancelled otherwise; an answer that comes after Cancel is
    /// met by the next read or write. An answer of one byte, and a text of more than 32767
    /// characters, are failures.
    std::int32_t WriteTracks(std::int16_t i_iTimeout, QString i_sTrack1, QString i_sTrack2,
                             QString i_sTrack3);

    /// Takes one swipe from the reader. `i_iTimeout`, in milliseconds: the read gives up when
    /// nothing has arrived for longer than that; with 0 or less it ends only with a whole frame
    /// or with Cancel. A track that the frame holds replaces the text given for it, the others
    /// stay as they are; so do all three unless the result is Success.
    ///
    /// Success: a frame has ended, whether or not a track could be taken from it; also when a
    /// read is running already. NotConnected, TimeOut, InvalidCard (the reader answered NAK) or
    /// Cancelled otherwise. What was received by a read that did not succeed is gone.
    std::int32_t ReadTracks(std::int16_t i_iTimeout, QString &o_sTrack1, QString &o_sTrack2,
                            QString &o_sTrack3);

    /// The port number, counted from 1; it reaches the port at the next Connect.
    std::int32_t CommPort() const { return m_lCommPort; }
    void CommPort(std::int32_t i_CommPort) { m_lCommPort = i_CommPort; }

    /// Chooses the end sentinel that is written: 0 for "?", 1 for "<". Any other value is kept
    /// and changes no sentinel. Reading takes both sentinels always.
    std::int32_t DeviceType() const { return m_lDeviceType; }
    void DeviceType(std::int32_t i_DeviceType);

    /// Asks the reader to describe itself, and hands over its whole answer.
    ///
    /// Success: the reader has answered with STX and not NAK behind it. NotConnected: it answered
    /// anything else, which `o_bSpec` holds too. TimeOut: no answer in about 1.6 s; one that comes
    /// after about 1.1 s is not read either and stays in the port. `o_bSpec` is left as it was on
    /// TimeOut and when the port is closed, which is a failure here. An answer of STX alone is a
    /// failure, with the byte in `o_bSpec`.
    std::int32_t DownloadCommand(QByteArray &o_bSpec);

    /// Sets the reader's line. `i_sBaudRate`: rate, comma, parity letter in lower case, then
    /// anything, as in "9600,e,8,1"; rates 1200, 2400, 4800 and 9600; parities o, e, m, s and n,
    /// the last two being sent alike; a text that is none of these counts as 1200, or as odd
    /// parity. `i_blnBCC`: exactly True asks for a block check byte in what is written.
    /// `i_sOldParity`: the parity letter of the line as it is now.
    ///
    /// Results as for DownloadCommand, TimeOut after about 1.1 s. Neither BCC nor Settings nor
    /// the open port change: the caller brings them into line with the reader. On a closed port,
    /// and with an old parity that is no text, it is a failure.
    std::int32_t SetBaudRate_BCC(const QString &i_sBaudRate, Boolean i_blnBCC,
                                 const QVariant &i_sOldParity);

    /// Whether written frames carry a block check byte; only exactly True counts as yes.
    Boolean BCC() const { return m_blnBCC; }
    void BCC(Boolean i_blnBCC) { m_blnBCC = i_blnBCC; }

    /// Shows the text of a result code in a message box with the critical-stop icon; nothing for
    /// a code whose text is empty.
    void ShowErrorDescription(std::int32_t i_lResult);

    /// The text of a result code; "Unknown error code." for one that has none.
    void ErrorDescription(std::int32_t i_lResult, QString &o_sMessage) const;

    /// Ends the read or write that is waiting. Without effect when none is.
    void Cancel() { m_blnCancel = True; }

    /// Which end sentinel came first in the last read that met one: 0 for "?", 1 for "<"; 0 at
    /// first.
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
