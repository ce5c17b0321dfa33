#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `sitetool import OLD.mdb [FILE]`: makes a database with all tables of an old one and prints the
/// number of rows in each. Columns keep their names and values; indices, keys, defaults and
/// relations are not imported. An employee without a name gets the empty text; any other empty text
/// becomes Null, as mdbtools does not distinguish the two. Returns 0. Throws NotDone, and makes
/// nothing, if any value cannot be imported, if there is any sign of damage in the old file or in
/// the output of mdbtools, or if the old file lacks what the clock needs.
int importOld(const CommandLine &line);

} // namespace Tavrel
