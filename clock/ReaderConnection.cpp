#include "clock/ReaderConnection.h"

#include "app/settings/Choices.h"
#include "app/settings/UserSettings.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"

namespace Tavrel
{

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
    reader().Settings(Choices::entryAt(Choices::BaudRates, rate) + u',' +
                      Choices::entryAt(Choices::LineFormats, format));
    reader().DeviceType(0);
    reader().Connect();
}

} // namespace Tavrel
