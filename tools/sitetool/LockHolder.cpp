#include "tools/sitetool/LockHolder.h"

#include <QFile>
#include <QStringList>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

LockHolder holderOf(qint64 process)
{
    QFile program(u"/proc/%1/comm"_s.arg(process));
    if (process <= 0 || !program.open(QIODevice::ReadOnly))
        return {0, u"another program"_s};
    const QString name = QString::fromUtf8(program.readAll()).trimmed();
    return {process, u"%1 (process %2)"_s.arg(name).arg(process)};
}

} // namespace

std::optional<LockHolder> lockHolder(const QString &path)
{
    struct stat status = {};
    QFile locks(u"/proc/locks"_s);
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 ||
        !locks.open(QIODevice::ReadOnly))
        return {};
    const QString wanted =
        QString::asprintf("%02x:%02x:%llu", major(status.st_dev), minor(status.st_dev),
                          static_cast<qulonglong>(status.st_ino));

    // As in "1: FLOCK  ADVISORY  WRITE 6814 00:06:92 0 EOF". The second field is "->" for a
    // process that still waits for the lock.
    enum Field { Number, Kind, Mandatory, Access, Process, File };
    for (const QString &line : QString::fromLatin1(locks.readAll()).split(u'\n')) {
        const QStringList fields = line.simplified().split(u' ');
        if (fields.size() > File && fields[Kind] == u"FLOCK" && fields[File] == wanted)
            return holderOf(fields[Process].toLongLong());
    }
    return {};
}

} // namespace Tavrel
