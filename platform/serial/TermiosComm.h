#pragma once

#include "platform/basics/FileDescriptor.h"
#include "platform/serial/LineSettings.h"
#include "platform/serial/MSComm.h"
#include "platform/serial/ParityMarks.h"

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace Tavrel
{

/// The control on a termios device. It needs an event loop in its thread: input wakes the loop, and
/// pending output is sent from it.
///
/// Opening is exclusive and raw, without handshaking; it raises DTR and RTS, and discards what the
/// line had buffered. Closing ends the exclusive mode, which would otherwise last as long as any
/// process has the device open. If the device goes away its descriptor is closed, but the port
/// counts as open: nothing arrives any more, and Output throws EIO.
class TermiosComm : public MSComm
{
public:
    /// `deviceOf` returns the path of the device for a port number.
    explicit TermiosComm(std::function<QString(std::int16_t)> deviceOf);
    ~TermiosComm() override;
    TermiosComm(const TermiosComm &) = delete;
    TermiosComm &operator=(const TermiosComm &) = delete;

    void CommPort(std::int16_t port) override;
    void Settings(const QString &settings) override;
    bool PortOpen() const override;
    void PortOpen(bool open) override;
    std::int16_t InBufferCount() override;
    QByteArray Input() override;
    void Output(const QByteArray &bytes) override;

private:
    void open();
    void close();
    void releaseDevice();
    void receive();
    void send();

    /// A notifier may be released while it is delivering, so it is deleted later.
    struct DeleteLater {
        void operator()(QSocketNotifier *notifier) const;
    };
    using Notifier = std::unique_ptr<QSocketNotifier, DeleteLater>;

    std::function<QString(std::int16_t)> m_deviceOf;
    std::int16_t m_port = 1;
    LineSettings m_settings = {B9600, CS8, false};
    bool m_portOpen = false;
    FileDescriptor m_device; ///< empty while the port is closed or its device has gone away
    Notifier m_readable;
    Notifier m_writable;
    ParityMarks m_marks;
    QByteArray m_received;
    QByteArray m_unsent;
};

} // namespace Tavrel
