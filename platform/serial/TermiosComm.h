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

/// The control on a terminal line of the system. It needs an event loop in its thread: waiting
/// input wakes the loop, and waiting output goes out through it.
///
/// Opening is exclusive, raw, without handshaking, with DTR and RTS raised, and throws away what
/// waited on the line from before. Closing gives the exclusive mode back, which would last as long
/// as anybody has the line open. A device that goes away is given back to the system, and the port
/// stays open in name: nothing arrives any more and Output fails.
class TermiosComm : public MSComm
{
public:
    /// `deviceOf`: finds the device of a port number.
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
    void giveBackDevice();
    void receive();
    void send();

    /// A notifier may be dropped while it is delivering: it is deleted when it is done.
    struct DeleteLater {
        void operator()(QSocketNotifier *notifier) const;
    };
    using Notifier = std::unique_ptr<QSocketNotifier, DeleteLater>;

    std::function<QString(std::int16_t)> m_deviceOf;
    std::int16_t m_port = 1;
    LineSettings m_settings = {B9600, CS8, false};
    bool m_portOpen = false;
    FileDescriptor m_device; ///< not held while the port is closed or open only in name
    Notifier m_readable;
    Notifier m_writable;
    ParityMarks m_marks;
    QByteArray m_received;
    QByteArray m_unsent;
};

} // namespace Tavrel
