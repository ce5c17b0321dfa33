#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `backup TARGET [--keep N]`: makes a copy of the database, checked and written to the disk, while
/// the clock runs: a new file, or one named after the date and the time in an existing folder,
/// where then all but the N newest are removed. Returns the exit status. Throws NotDone or Failure,
/// and makes and removes nothing, if the database is damaged or cannot be copied.
int backUp(const CommandLine &line);

} // namespace Tavrel
