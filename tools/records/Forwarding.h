#pragma once

#include "tools/records/TimeDatabase.h"

#include <QDateTime>
#include <QString>

namespace Tavrel
{

/// What the forwarding of punches to an office leaves in the time database and on the disk. The
/// clock knows nothing of it.
namespace Forwarding
{

/// The identity by which the office knows the database: a UUID, which adopting it stores.
///
///     Forwarding      Identity
///
/// Null if the database was never adopted.
QString identity(Connection &database);

/// The same; if it has none yet, stores a new one.
QString makeIdentity(TimeDatabase &database);

/// The folder of this user's states: $STATE_DIRECTORY, which systemd sets for a service, or else
/// $XDG_STATE_HOME/Tavrel.
QString stateFolder();

/// The name of the state's file in that folder.
QString stateFile(const QString &identity);

/// The first line of a state: what became of the last pass.
struct Report {
    int status = 0;   ///< the exit status of the pass
    QString sentence; ///< empty if no pass has left a state
    QDateTime when;   ///< when it was written
};

/// The report on the last pass, of this user or of the service.
Report lastReport(const QString &identity);

} // namespace Forwarding

} // namespace Tavrel
