#pragma once

#include <QString>

#include <optional>

namespace Tavrel
{

/// A process that holds a file locked by flock(2), as the clock does its port and its lock file.
struct LockHolder {
    qint64 process; ///< 0 if it is hidden
    QString name;   ///< the program and the process, for a message
};

/// Returns the process that has locked the file or device at `path`, if any. Reads /proc/locks and
/// neither opens nor locks the file: a serial line is left unchanged, and a clock that starts at
/// this moment does not find it locked.
std::optional<LockHolder> lockHolder(const QString &path);

} // namespace Tavrel
