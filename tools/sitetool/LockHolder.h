#pragma once

#include <QString>

#include <optional>

namespace Tavrel
{

/// A process that holds a file by flock(2), as the clock holds its port and its claim to run.
struct LockHolder {
    qint64 process; ///< 0 when the system does not show which it is
    QString name;   ///< of the program, in words that name the process too
};

/// Who holds the file or device at `path`; none when nobody does. The system's list of locks is
/// asked, so the file is neither opened nor locked: a serial line stays as it is, and a clock that
/// starts at this moment meets no lock.
std::optional<LockHolder> lockHolder(const QString &path);

} // namespace Tavrel
