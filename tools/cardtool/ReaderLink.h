#pragma once

#include "platform/basics/Failure.h"
#include "platform/serial/TermiosComm.h"

namespace Tavrel
{

/// The line to a reader, with what a technician needs and the driver hides: failures name the
/// device and are stored, a disconnected device is a failure instead of a time-out, and the bytes
/// that the reader answered are available.
class ReaderLink : public MSComm
{
public:
    /// `path` is the device, `name` what messages call it.
    ReaderLink(const QString &path, const QString &name);

    void CommPort(std::int16_t port) override { m_line.CommPort(port); }
    void Settings(const QString &settings) override { m_line.Settings(settings); }
    bool PortOpen() const override { return m_line.PortOpen(); }
    void PortOpen(bool open) override;

    /// Throws a Failure if no bytes are waiting and the device was disconnected.
    std::int16_t InBufferCount() override;
    QByteArray Input() override;
    void Output(const QByteArray &bytes) override;

    const QString &name() const { return m_name; }

    /// The message of the last failure to open the port or to reach the reader; empty if there was
    /// none.
    const QString &failure() const { return m_failure; }

    /// The bytes that the driver has read since it last sent something.
    const QByteArray &answer() const { return m_answer; }

    /// Whether bytes are waiting that the driver has not read.
    bool hasUnread() { return m_line.InBufferCount() > 0; }

private:
    void send(const QByteArray &bytes);
    [[noreturn]] void fail(std::int32_t number, const QString &text);

    TermiosComm m_line;
    QString m_name;
    QString m_failure;
    QByteArray m_answer;
};

} // namespace Tavrel
