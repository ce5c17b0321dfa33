#include "tools/sitetool/LockHolder.h"

#include <QFile>
#include <QStringList>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace
{

LockHolder holderOf(qint64 process)
{
    QFile program(QStringLiteral("/proc/%1/comm").arg(process));
    if (process <= 0 || !program.open(QIODevice::ReadOnly))
        return {0, QStringLiteral("another program")};
    const QString name = QString::fromUtf8(program.readAll()).trimmed();
    return {process, QStringLiteral("%1 (process %2)").arg(name).arg(process)};
}

} // namespace

std::optional<LockHolder> lockHolder(const QString &path)
{
    struct stat status = {};
    QFile locks(QStringLiteral("/proc/locks"));
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 ||
        !locks.open(QIODevice::ReadOnly))
        return {};
    const QString wanted =
        QString::asprintf("%02x:%02x:%llu", major(status.st_dev), minor(status.st_dev),
                          static_cast<qulonglong>(status.st_ino));

    // As in "1: FLOCK  ADVISORY  WRITE 6814 00:06:92 0 EOF"; of one that still waits for its lock
    // the second field is an arrow.
    enum Field { Number, Kind, Mandatory, Access, Process, File };
    for (const QString &line : QString::fromLatin1(locks.readAll()).split(u'\n')) {
        const QStringList fields = line.simplified().split(u' ');
        if (fields.size() > File && fields[Kind] == u"FLOCK" && fields[File] == wanted)
            return holderOf(fields[Process].toLongLong());
    }
    return {};
}
