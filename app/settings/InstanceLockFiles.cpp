#include "app/settings/InstanceLockFiles.h"

#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

QStringList instanceLockFiles()
{
    QStringList files;
    for (const QString &folder :
         {qEnvironmentVariable("XDG_RUNTIME_DIR"), settingsFolder(ApplicationTitle)}) {
        if (!folder.isEmpty())
            files += folder + QStringLiteral("/Tavrel.lock");
    }
    return files;
}
