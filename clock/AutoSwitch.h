#pragma once

namespace Tavrel
{

/// The option button that the auto-switch selects at a time of day: 0 for "Clock In", 1 for "Clock
/// Out". It is "Clock In" from `clockIn` on and "Clock Out" from `clockOut` on, across midnight if
/// need be, and always "Clock In" if both are equal. All three are date values; `now` is a time of
/// day, and the other two are compared as they are: a stored date is not removed.
int wantedEvent(double clockIn, double clockOut, double now);

} // namespace Tavrel
