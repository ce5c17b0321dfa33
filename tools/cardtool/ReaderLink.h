#pragma once

#include "platform/basics/Failure.h"
#include "platform/serial/TermiosComm.h"

namespace Tavrel
{

/// The line to a reader, with what a technician needs and the driver keeps to itself: failures
/// name the device and are kept, a device that goes away is a failure instead of silence, and what
/// the reader has answered can be looked at.
class ReaderLink : public MSComm
{
public:
    /// A line on the device at `path`, which messages call `name`.
    ReaderLink(const QString &path, const QString &name);

    void CommPort(std::int16_t port) override { m_line.CommPort(port); }
    void Settings(const QString &settings) override { m_line.Settings(settings); }
    bool PortOpen() const override { return m_line.PortOpen(); }
    void PortOpen(bool open) override;

    /// A failure when nothing is waiting and the device has gone away.
    std::int16_t InBufferCount() override;
    QByteArray Input() override;
    void Output(const QByteArray &bytes) override;

    const QString &name() const { return m_name; }

    /// The last failure to open the port or to reach the reader, in words; empty if there was none.
    const QString &failure() const { return m_failure; }

    /// What the driver has taken since it sent something, or since the beginning.
    const QByteArray &answer() const { return m_answer; }

    /// Whether bytes have come that the driver has not taken.
    bool hasUnread() { return m_line.InBufferCount() > 0; }

private:
    void send(const QByteArray &bytes);
    [[noreturn]] void fail(std::int32_t number, const QString &words);

    TermiosComm m_line;
    QString m_name;
    QString m_failure;
    QByteArray m_answer;
};

} // namespace Tavrel
