#include "tools/records/NamelessFile.h"

#include "tools/console/NotDone.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void failToMake(const QString &target)
{
    const int error = errno;
    if (error == EEXIST)
        throw NotDone{u"Cannot create \"%1\": it already exists."_s.arg(target)};
    throw NotDone{
        u"Cannot create \"%1\": %2."_s.arg(target, QString::fromLocal8Bit(strerror(error)))};
}

} // namespace

NamelessFile::NamelessFile(const QString &target, mode_t mode)
    : m_target(target), m_folder(::open(QFile::encodeName(QFileInfo(target).path()).constData(),
                                        O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(target).constData(), &status) == 0) {
        errno = EEXIST;
        failToMake(target);
    }
    if (!m_folder || ::fstat(m_folder.get(), &status) != 0)
        failToMake(target);
    constexpr mode_t OfTheGroup = 0660;
    m_file = FileDescriptor(::openat(m_folder.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
    const bool isShared = (status.st_mode & S_ISGID) != 0;
    if (!m_file || (isShared && ::fchmod(m_file.get(), OfTheGroup) != 0))
        failToMake(target);
}

void NamelessFile::write(const QByteArray &bytes)
{
    for (qsizetype written = 0; written < bytes.size();) {
        const ssize_t count = ::write(m_file.get(), bytes.constData() + written,
                                      static_cast<std::size_t>(bytes.size() - written));
        if (count < 0)
            failToMake(m_target);
        written += count;
    }
}

void NamelessFile::publish()
{
    const QByteArray name = QFile::encodeName(QFileInfo(m_target).fileName());
    // Unlike rename(), linkat() never replaces an existing file.
    if (::fsync(m_file.get()) != 0 || ::linkat(AT_FDCWD, path().constData(), m_folder.get(),
                                               name.constData(), AT_SYMLINK_FOLLOW) != 0)
        failToMake(m_target);
    // Its result is ignored: not every file system can sync a folder, and the contents are safe.
    ::fsync(m_folder.get());
}

} // namespace Tavrel
