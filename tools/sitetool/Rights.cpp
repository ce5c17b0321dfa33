#include "tools/sitetool/Rights.h"

#include "tools/console/Console.h"

#include <QFile>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

QString groupName(gid_t id)
{
    const group *group = ::getgrgid(id);
    return group ? QString::fromLocal8Bit(group->gr_name) : QString::number(id);
}

/// Whether this user will be in the group after the next login.
bool isEntered(gid_t wanted)
{
    const passwd *user = ::getpwuid(::getuid());
    if (!user)
        return false;
    int count = 0;
    ::getgrouplist(user->pw_name, user->pw_gid, nullptr, &count);
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    ::getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count);
    return std::ranges::find(groups, wanted) != groups.end();
}

/// Who owns a file that this user may not use, and how to get access.
QString remedy(const struct stat &status, mode_t rights)
{
    constexpr mode_t Permissions = 07777;
    const QString user = Console::userName(::getuid());
    const QString group = groupName(status.st_gid);
    const QString belongs = u" It belongs to %1 and the group %2, in mode %3."_s.arg(
        Console::userName(status.st_uid), group, QString::number(status.st_mode & Permissions, 8));
    const mode_t groupRights = rights << 3;
    if (status.st_uid == ::getuid() || status.st_gid == 0 ||
        (status.st_mode & groupRights) != groupRights)
        return belongs +
               u" That excludes %1: the administrator can give it to a group with %2."_s.arg(
                   user, S_ISCHR(status.st_mode)
                             ? u"a udev rule, GROUP=\"dialout\", MODE=\"0660\""_s
                             : u"chgrp and chmod"_s);
    if (isEntered(status.st_gid))
        return belongs + u" %1 is in that group, but not yet in this session: log "
                         "out and in again."_s.arg(user);
    return belongs + u" The group may use it, and %1 is not in it: sudo adduser %1 "
                     "%2, then log out and in again."_s.arg(user, group);
}

} // namespace

QString whyInaccessible(const QString &path, int rights)
{
    const QByteArray name = QFile::encodeName(path);
    if (::access(name.constData(), rights) == 0)
        return {};
    const int error = errno;
    QString words = qt_error_string(error) + u'.';

    struct stat status = {};
    if (error != EACCES || ::stat(name.constData(), &status) != 0)
        return words;
    return words + remedy(status, static_cast<mode_t>(rights));
}

} // namespace Tavrel
