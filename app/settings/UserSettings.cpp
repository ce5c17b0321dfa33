#include "app/settings/UserSettings.h"

#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

namespace Tavrel
{

namespace UserSettings
{

QString read(const Key &key)
{
    return GetSetting(ApplicationTitle, QString::fromLatin1(key.section),
                      QString::fromLatin1(key.name), QString::fromLatin1(key.fallback));
}

void write(const Key &key, const QString &text)
{
    SaveSetting(ApplicationTitle, QString::fromLatin1(key.section), QString::fromLatin1(key.name),
                text);
}

} // namespace UserSettings

} // namespace Tavrel
