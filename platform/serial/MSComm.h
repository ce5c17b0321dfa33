#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The serial communications control: one port, synchronous, with a buffer of its own on the way
/// in. The seam between the reader driver and the serial line.
class MSComm
{
public:
    /// Received bytes that wait at most; what comes beyond is dropped.
    static constexpr int InBufferSize = 1024;

    /// What a byte received in error arrives as.
    static constexpr char ParityReplace = '?';

    virtual ~MSComm() = default;

    /// The port number, counted from 1; reaches the line when the port is opened.
    virtual void CommPort(std::int16_t port) = 0;

    /// Rate, parity letter, data bits and stop bits, as in "9600,N,8,1"; reaches the line when
    /// the port is opened. Failure EINVAL, with the old value kept, when it cannot be parsed.
    virtual void Settings(const QString &settings) = 0;

    /// Whether the port is open. A port whose device went away stays open in name until it is
    /// closed.
    virtual bool PortOpen() const = 0;

    /// Opens or closes the port. A port that cannot be opened is a failure, with the number and
    /// the words of the system, and stays closed.
    virtual void PortOpen(bool open) = 0;

    /// The number of received bytes waiting, 0 to InBufferSize; 0 on a closed port.
    virtual std::int16_t InBufferCount() = 0;

    /// All waiting bytes, taken out of the buffer; none on a closed port.
    virtual QByteArray Input() = 0;

    /// Takes all of `bytes` and sends them in order without blocking. What the line does not take
    /// at once goes out as events are delivered; closing the port drops the rest. A failure when
    /// the port is closed or its device went away.
    virtual void Output(const QByteArray &bytes) = 0;
};

} // namespace Tavrel
