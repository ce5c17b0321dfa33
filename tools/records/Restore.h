#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `restore BACKUP [--yes] [--keep-punches] [--reason TEXT]`: replaces the contents of the database
/// by those of a backup, with the corrections made since, and keeps a copy of it beside it. Lists
/// the punches that the backup lacks, and with --keep-punches adds them. Asks first, on the
/// terminal, unless --yes is given.
///
/// The clock may run: the contents are written in one transaction, so a killed restore leaves the
/// old ones, and begins again if a punch is stored while it looks at the others. A damaged file
/// that SQLite cannot open is moved aside instead. Returns the exit status. Throws NotDone or
/// Failure, with the database unchanged, if the backup is damaged or not a time database.
int restore(const CommandLine &line);

} // namespace Tavrel
