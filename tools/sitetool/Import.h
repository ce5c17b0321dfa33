#pragma once

#include <QStringList>

namespace Tavrel
{

/// `sitetool import OLD.mdb [FILE]`: makes a database with all tables of an old one and prints a
/// table of what was taken over. Columns keep names and values; indices, keys, defaults and
/// relations stay behind. An employee without a name gets the empty text; any other text that is
/// empty becomes Null, for mdbtools tells no difference. Returns 0; throws NotDone, with nothing
/// made, when a single value cannot be carried over, when the old file or mdbtools shows any sign
/// of damage, or when the file lacks what the clock needs.
int importOld(const QStringList &arguments);

} // namespace Tavrel
