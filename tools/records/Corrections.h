#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `corrections [--from DAY] [--to DAY]`: lists the changes made by these commands in that period,
/// or all of them. Returns the exit status.
int listCorrections(const CommandLine &line);

} // namespace Tavrel
