#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `employees import LIST.csv [--apply [--doubtful]]`: compares a spreadsheet's list with the
/// employees and prints what it would add, rename and refuse, and what only looks wrong, with the
/// number of the line in the file. `--apply` stores all of it in one transaction, but nothing if a
/// line is refused, or if one looks wrong and `--doubtful` is missing.
///
/// The list is CSV (RFC 4180) separated by commas, semicolons or tabs, of at most 1 MiB, in UTF-8
/// or else in Windows-1252. The columns are badge and name, unless the first line is a heading that
/// names both; with a heading there may be others, which are ignored.
///
/// Returns the exit status. Throws NotDone if the list cannot be read, if a line is refused, or if
/// `--apply` stores nothing because a line looks wrong.
int importEmployees(const CommandLine &line);

} // namespace Tavrel
