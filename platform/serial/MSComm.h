#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The serial communications control: one port, synchronous, with its own input buffer. The seam
/// between the reader driver and the serial line.
class MSComm
{
public:
    /// The maximum number of received bytes that are buffered; further ones are dropped.
    static constexpr int InBufferSize = 1024;

    /// Takes the place of a byte received in error.
    static constexpr char ParityReplace = '?';

    virtual ~MSComm() = default;

    /// Sets the port number, counted from 1; it takes effect when the port is opened.
    virtual void CommPort(std::int16_t port) = 0;

    /// Sets rate, parity letter, data bits and stop bits, as in "9600,N,8,1"; they take effect when
    /// the port is opened. Throws EINVAL, and keeps the old value, if the text cannot be parsed.
    virtual void Settings(const QString &settings) = 0;

    /// Whether the port is open. A port whose device has gone away counts as open until it is
    /// closed.
    virtual bool PortOpen() const = 0;

    /// Opens or closes the port. If it cannot be opened, throws `errno` with its text, and the port
    /// stays closed.
    virtual void PortOpen(bool open) = 0;

    /// The number of received bytes waiting, 0 to InBufferSize; 0 on a closed port.
    virtual std::int16_t InBufferCount() = 0;

    /// Removes all waiting bytes from the buffer and returns them; none on a closed port.
    virtual QByteArray Input() = 0;

    /// Sends all of `bytes` in order without blocking. What the line does not accept at once is
    /// sent as events are delivered; closing the port drops the rest. Throws ENOTCONN if the port
    /// is closed, EIO if its device has gone away.
    virtual void Output(const QByteArray &bytes) = 0;
};

} // namespace Tavrel
