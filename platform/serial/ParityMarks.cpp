#include "platform/serial/ParityMarks.h"

#include "platform/serial/MSComm.h"

namespace Tavrel
{

namespace
{

constexpr char Mark = '\xFF';

} // namespace

QByteArray ParityMarks::decode(const QByteArray &raw)
{
    QByteArray decoded;
    decoded.reserve(raw.size());
    for (const char byte : raw) {
        switch (m_state) {
        case State::Plain:
            if (byte == Mark)
                m_state = State::Marked;
            else
                decoded += byte;
            break;
        case State::Marked:
            if (byte == '\0') {
                m_state = State::InError;
            } else {
                // After a mark the kernel writes only 00 or FF.
                decoded += byte;
                m_state = State::Plain;
            }
            break;
        case State::InError:
            decoded += MSComm::ParityReplace;
            m_state = State::Plain;
            break;
        }
    }
    return decoded;
}

} // namespace Tavrel
