#pragma once

#include "platform/basics/Failure.h"
#include "platform/serial/MSComm.h"

using namespace Tavrel;

/// A serial control without a line: tests supply the bytes received and inspect those sent.
class ScriptedComm : public MSComm
{
public:
    void CommPort(std::int16_t number) override { port = number; }
    void Settings(const QString &text) override { settings = text; }
    bool PortOpen() const override { return open; }
    void PortOpen(bool wanted) override
    {
        failIf(broken);
        open = wanted;
        received.clear();
    }
    std::int16_t InBufferCount() override
    {
        failIf(broken);
        return static_cast<std::int16_t>(received.size());
    }
    QByteArray Input() override { return std::exchange(received, {}); }
    void Output(const QByteArray &bytes) override
    {
        failIf(!open || broken);
        sent.append(bytes);
    }

    std::int16_t port = 0;
    QString settings;
    bool open = false;
    bool broken = false; ///< every use of the line fails
    QByteArray received;
    QByteArrayList sent;

private:
    static void failIf(bool condition)
    {
        if (condition)
            throw Failure(5, QStringLiteral("broken"));
    }
};
