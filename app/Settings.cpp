#include "app/Settings.h"

#include "platform/ApplicationTitle.h"
#include "platform/UserSettings.h"

namespace Settings
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

} // namespace Settings
