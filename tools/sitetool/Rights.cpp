#include "tools/sitetool/Rights.h"

#include <QFile>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

QString hindrance(const QString &path, int rights)
{
    const QByteArray name = QFile::encodeName(path);
    if (::access(name.constData(), rights) == 0)
        return {};
    const int error = errno;
    QString words = qt_error_string(error) + u'.';

    struct stat status = {};
    if (error != EACCES || ::stat(name.constData(), &status) != 0)
        return words;
    const mode_t groupRights = static_cast<mode_t>(rights) << 3;
    const group *owner = ::getgrgid(status.st_gid);
    const passwd *user = ::getpwuid(::getuid());
    if (status.st_gid != 0 && (status.st_mode & groupRights) == groupRights && owner && user)
        words +=
            QStringLiteral(" The group %2 may: sudo adduser %1 %2, then log in anew.")
                .arg(QString::fromLocal8Bit(user->pw_name), QString::fromLocal8Bit(owner->gr_name));
    return words;
}
