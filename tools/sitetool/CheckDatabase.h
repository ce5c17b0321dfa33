#pragma once

#include "tools/sitetool/Findings.h"

namespace Tavrel
{

/// Says what the clock will meet in the database that `file` names, itself or as a link, and
/// whether it would store a punch there.
///
/// The facts are read by a connection that is open for reading alone. Then the clock's own
/// SavePunch stores a punch in a transaction that is never committed, with its journal and its
/// pages kept in memory: the file is locked for a moment, as by a punch, and not written. Only a
/// database in SQLite's mode WAL gets the two files beside it that each opening makes, for as long
/// as it is open.
void checkDatabase(const QString &file, Findings &findings);

} // namespace Tavrel
