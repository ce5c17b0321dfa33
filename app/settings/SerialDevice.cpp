#include "app/settings/SerialDevice.h"

#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

#include <QFileInfo>

QString serialDevice(std::int16_t port)
{
    const QString link = QStringLiteral("COM%1").arg(port);
    for (const QString &candidate :
         {settingsFolder(ApplicationTitle) + u'/' + link, QStringLiteral("/dev/") + link}) {
        const QFileInfo file(candidate);
        if (file.exists() || file.isSymLink())
            return candidate;
    }
    return QStringLiteral("/dev/ttyS%1").arg(port - 1);
}
