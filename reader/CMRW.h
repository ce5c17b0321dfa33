#pragma once

#include "platform/Boolean.h"
#include "platform/Host.h"
#include "platform/MSComm.h"
#include "reader/Frames.h"

#include <QString>

#include <cstdint>
#include <functional>

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

    /// Shows the text of a result code in a message box with the critical-stop icon; nothing for
    /// a code whose text is empty.
    void ShowErrorDescription(std::int32_t i_lResult);

    /// The text of a result code; "Unknown error code." for one that has none.
    void ErrorDescription(std::int32_t i_lResult, QString &o_sMessage) const;

    /// Ends the read or write that is waiting. Without effect when none is.
    void Cancel() { m_blnCancel = True; }

    /// Which end sentinel the last read has found first: 0 for "?", 1 for "<".
    std::int32_t ReadTrackDataType() const { return m_lReadTrackDataType; }

private:
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
    Boolean m_blnCancel = False;
    std::int32_t m_lReadTrackDataType = 0;
    Boolean m_blnReadBusy = False;
};
