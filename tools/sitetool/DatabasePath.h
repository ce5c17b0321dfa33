#pragma once

#include <QString>

namespace Tavrel
{

/// The database that a command works on: `file`, or DatabaseFile in the program's folder where that
/// is null.
QString databasePath(const QString &file);

/// The same for a database that a command makes. In an installed system, the name in the program's
/// folder is a link to where the data are, which stays: the path is then that of the link's target,
/// whether or not it exists.
QString newDatabasePath(const QString &file);

} // namespace Tavrel
