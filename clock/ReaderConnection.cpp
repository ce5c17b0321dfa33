#include "clock/ReaderConnection.h"

#include "app/settings/Choices.h"
#include "app/settings/UserSettings.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"

namespace
{

/// The entry at a stored position; failure 9 when there is none.
template <typename Entries> QString choose(const Entries &choices, std::int16_t index)
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
        reader().Disconnect();
    }
}

CMRW &ReaderConnection::reader()
{
    if (!m_Reader)
        m_Reader.emplace(m_host);
    return *m_Reader;
}

void ReaderConnection::connectFromSettings()
{
    const std::int16_t port = lenientNumber(UserSettings::read(UserSettings::Comport));
    const std::int16_t rate = lenientNumber(UserSettings::read(UserSettings::BaudRate));
    const std::int16_t format = lenientNumber(UserSettings::read(UserSettings::Format));

    reader().Disconnect();
    reader().CommPort(port + 1);
    reader().Settings(choose(Choices::BaudRates, rate) + u',' +
                      choose(Choices::LineFormats, format));
    reader().DeviceType(0);
    reader().Connect();
}
