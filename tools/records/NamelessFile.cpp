#include "tools/records/NamelessFile.h"

#include "tools/console/NotDone.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
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
    const bool isPrivate = status.st_uid == ::geteuid() && !(status.st_mode & (S_IWGRP | S_IWOTH));
    if (!m_file && isPrivate && (errno == EOPNOTSUPP || errno == EISDIR)) {
        m_partName = QFile::encodeName(QFileInfo(target).fileName() + u".part"_s);
        m_file = FileDescriptor(::openat(m_folder.get(), m_partName.constData(),
                                         O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, mode));
        if (!m_file) {
            m_partName.clear(); // another program's
            failToMake(target + u".part"_s);
        }
    }
    const bool isShared = (status.st_mode & S_ISGID) != 0;
    if (!m_file || (isShared && ::fchmod(m_file.get(), OfTheGroup) != 0))
        failToMake(target);
}

NamelessFile::~NamelessFile()
{
    if (!m_partName.isEmpty())
        ::unlinkat(m_folder.get(), m_partName.constData(), 0);
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
    const auto giveName = [&] {
        // Unlike rename(), this never replaces an existing file.
        if (m_partName.isEmpty())
            return ::linkat(AT_FDCWD, path().constData(), m_folder.get(), name.constData(),
                            AT_SYMLINK_FOLLOW);
        struct stat status = {};
        if (::fstatat(m_folder.get(), name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            return ::renameat(m_folder.get(), m_partName.constData(), m_folder.get(),
                              name.constData());
        errno = EEXIST;
        return -1;
    };
    if (::fsync(m_file.get()) != 0 || giveName() != 0)
        failToMake(m_target);
    m_partName.clear();
    // Its result is ignored: not every file system can sync a folder, and the contents are safe.
    ::fsync(m_folder.get());
}

} // namespace Tavrel
