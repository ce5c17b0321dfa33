#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `present`: lists who is in, and since when. Returns the exit status.
int listPresent(const CommandLine &line);

/// `hours --week WEEK | --month MONTH | --from DAY --to DAY`: lists the hours of each badge. Throws
/// Console::Mistake for an invalid period, NotDone if it has too many punches.
int listHours(const CommandLine &line);

} // namespace Tavrel
