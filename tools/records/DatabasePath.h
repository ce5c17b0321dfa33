#pragma once

#include <QString>

namespace Tavrel
{

/// The path of the database that a command works on: `file`, or DatabaseFile in the program's
/// folder if that is null.
QString databasePath(const QString &file);

/// The same for a database that a command makes. Once installed, DatabaseFile in the program's
/// folder is a link to the real file, and the result is the target of the link, whether or not it
/// exists.
QString newDatabasePath(const QString &file);

} // namespace Tavrel
