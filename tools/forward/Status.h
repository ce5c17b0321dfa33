#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `status [FILE]`: prints what became of the last pass, the rows that cannot be sent, and the days
/// that wait or differ, with the number of their punches here and at the office. Returns 0 if the
/// office has all punches, 1 if not; throws NotDone with the status 75 if it cannot be reached.
/// Changes nothing.
int showStatus(const CommandLine &line);

} // namespace Tavrel
