#pragma once

#include "tools/sitetool/Findings.h"

namespace Tavrel
{

/// Says what the clock will meet on the way from a card to a badge number: the settings of this
/// user, by the conversions that the clock reads them with, the ports, and whether a clock is
/// running. The status of a device is asked for, never the device itself.
void checkSettingsAndPorts(Findings &findings);

} // namespace Tavrel
