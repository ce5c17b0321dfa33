#pragma once

#include "tools/sitetool/Findings.h"

namespace Tavrel
{

/// Reports the state of the database `file`, which may be a link to it, and whether the clock would
/// store a punch there.
///
/// The facts are read through a read-only connection. Then the clock's own SavePunch stores a punch
/// in a transaction that is rolled back, with its journal and pages kept in memory: the file is
/// locked for a moment, as by a punch, but not written. In the mode WAL, SQLite creates its two
/// files beside the database while it is open.
void checkDatabase(const QString &file, Findings &findings);

} // namespace Tavrel
