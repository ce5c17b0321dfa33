#include "app/settings/SerialDevice.h"

#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

#include <QFileInfo>

namespace Tavrel
{

using namespace Qt::StringLiterals;

QString serialDevice(std::int16_t port)
{
    const QString link = u"COM%1"_s.arg(port);
    for (const QString &candidate :
         {settingsFolder(ApplicationTitle) + u'/' + link, u"/dev/"_s + link}) {
        const QFileInfo file(candidate);
        if (file.exists() || file.isSymLink())
            return candidate;
    }
    return u"/dev/ttyS%1"_s.arg(port - 1);
}

} // namespace Tavrel
