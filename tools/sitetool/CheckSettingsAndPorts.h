#pragma once

#include "tools/sitetool/Findings.h"

namespace Tavrel
{

/// Reports what the clock needs to read a card: this user's settings, converted as the clock does,
/// the ports, and whether a clock is running. Looks only at the status of a device, never opens it.
void checkSettingsAndPorts(Findings &findings);

} // namespace Tavrel
