#include "tools/cardtool/ReaderLink.h"

#include <cerrno>

namespace Tavrel
{

using namespace Qt::StringLiterals;

ReaderLink::ReaderLink(const QString &path, const QString &name)
    : m_line([path](std::int16_t) { return path; }), m_name(name)
{
}

void ReaderLink::PortOpen(bool open)
{
    try {
        m_line.PortOpen(open);
    } catch (const Failure &failure) {
        if (failure.number == EWOULDBLOCK || failure.number == EBUSY)
            fail(failure.number,
                 u"%1: another program is using it; close that first."_s.arg(m_name));
        fail(failure.number, u"%1: %2."_s.arg(m_name, failure.description));
    }
}

std::int16_t ReaderLink::InBufferCount()
{
    const std::int16_t count = m_line.InBufferCount();
    if (count == 0)
        send({}); // sends nothing, and fails if the device was disconnected
    return count;
}

QByteArray ReaderLink::Input()
{
    QByteArray bytes = m_line.Input();
    m_answer += bytes;
    return bytes;
}

void ReaderLink::Output(const QByteArray &bytes)
{
    m_answer.clear();
    send(bytes);
}

void ReaderLink::send(const QByteArray &bytes)
{
    try {
        m_line.Output(bytes);
    } catch (const Failure &failure) {
        fail(failure.number, u"%1: the reader was disconnected."_s.arg(m_name));
    }
}

void ReaderLink::fail(std::int32_t number, const QString &text)
{
    m_failure = text;
    throw Failure(number, text);
}

} // namespace Tavrel
