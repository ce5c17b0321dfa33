#include "app/App.h"

#include "app/settings/InstanceLockFiles.h"
#include "app/settings/SettingsStore.h"
#include "platform/basics/ApplicationTitle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace Tavrel
{

namespace App
{

QString Path()
{
    return QCoreApplication::applicationDirPath();
}

InstanceLock::InstanceLock()
{
    QDir().mkpath(settingsFolder(ApplicationTitle));

    for (const QString &path : instanceLockFiles()) {
        FileDescriptor file(
            ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (!file)
            continue;
        if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            m_locks.push_back(std::move(file));
        } else if (errno == EWOULDBLOCK) {
            m_prevInstance = true;
            return;
        }
    }
}

} // namespace App

} // namespace Tavrel
