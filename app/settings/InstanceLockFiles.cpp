#include "app/settings/InstanceLockFiles.h"

#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

QStringList instanceLockFiles()
{
    QStringList files;
    for (const QString &folder :
         {qEnvironmentVariable("XDG_RUNTIME_DIR"), settingsFolder(ApplicationTitle)}) {
        if (!folder.isEmpty())
            files += folder + u"/Tavrel.lock"_s;
    }
    return files;
}

} // namespace Tavrel
