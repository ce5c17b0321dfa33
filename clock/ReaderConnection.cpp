#include "clock/ReaderConnection.h"

#include "app/Settings.h"
#include "platform/Conversions.h"
#include "platform/Failure.h"

#include <array>

namespace
{

using Choices = std::array<const char *, 3>;

constexpr Choices BaudRates{"9600", "4800", "2400"};
constexpr Choices LineFormats{"N,8,1", "O,7,1", "S,7,1"};

QString choose(const Choices &choices, std::int16_t index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= choices.size())
        throw Failure(Failure::SubscriptOutOfRange);
    return QString::fromLatin1(choices[static_cast<std::size_t>(index)]);
}

} // namespace

void ReaderConnection::ConnectReader()
{
    try {
        connectFromSettings();
    } catch (const Failure &) {
        m_Reader().Disconnect();
    }
}

CMRW &ReaderConnection::m_Reader()
{
    if (!m_reader)
        m_reader = std::make_unique<CMRW>(m_host);
    return *m_reader;
}

void ReaderConnection::connectFromSettings()
{
    const std::int16_t port = lenientNumber(Settings::read(Settings::Comport));
    const std::int16_t rate = lenientNumber(Settings::read(Settings::BaudRate));
    const std::int16_t format = lenientNumber(Settings::read(Settings::Format));

    m_Reader().Disconnect();
    m_Reader().CommPort(port + 1);
    m_Reader().Settings(choose(BaudRates, rate) + u',' + choose(LineFormats, format));
    m_Reader().DeviceType(0);
    m_Reader().Connect();
}
