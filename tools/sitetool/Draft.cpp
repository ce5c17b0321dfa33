#include "tools/sitetool/Draft.h"

#include "platform/basics/FileDescriptor.h"
#include "tools/sitetool/NotDone.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace
{

[[noreturn]] void failToMake(const QString &target)
{
    if (errno == EEXIST)
        throw NotDone{QStringLiteral("%1 exists already and is left as it is.").arg(target)};
    throw NotDone{QStringLiteral("%1 cannot be made: %2.")
                      .arg(target, QString::fromLocal8Bit(strerror(errno)))};
}

/// Whether new files in the folder of `path` belong to its group.
bool isShared(const QString &path)
{
    struct stat folder = {};
    return ::stat(QFile::encodeName(QFileInfo(path).path()).constData(), &folder) == 0 &&
           (folder.st_mode & S_ISGID) != 0;
}

bool sync(const QByteArray &path)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    return file && ::fsync(file.get()) == 0;
}

} // namespace

QString databaseNamed(const QString &file)
{
    if (!file.isNull())
        return file;
    const QFileInfo usual(QCoreApplication::applicationDirPath() + QStringLiteral("/Orvanta.mdb"));
    return usual.isSymLink() ? usual.symLinkTarget() : usual.filePath();
}

Draft::Draft(const QString &target)
    : m_target(target),
      m_path(QFile::encodeName(
          QStringLiteral("%1.draft-%2").arg(target).arg(QCoreApplication::applicationPid())))
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(target).constData(), &status) == 0) {
        errno = EEXIST;
        failToMake(target);
    }
    constexpr mode_t AsUmaskAllows = 0666;
    const FileDescriptor file(
        ::open(m_path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, AsUmaskAllows));
    constexpr mode_t OfTheGroup = 0660;
    if (!file || (isShared(target) && ::fchmod(file.get(), OfTheGroup) != 0))
        failToMake(target);
}

Draft::~Draft()
{
    ::unlink(m_path.constData());
}

void Draft::publish()
{
    const QByteArray name = QFile::encodeName(m_target);
    // Unlike a rename, a link never replaces what has the name.
    if (!sync(m_path) || ::link(m_path.constData(), name.constData()) != 0)
        failToMake(m_target);
    // Not every file system syncs folders; the file's own bytes are safe.
    sync(QFile::encodeName(QFileInfo(m_target).path()));
}
