#pragma once

namespace Tavrel
{

/// The option button that the auto-switch wants at a time of day: 0 for "Clock In", 1 for "Clock
/// Out". The day is a circle cut at the two stored times; each of them begins its own stretch,
/// and when both are equal there is only "Clock In". All three are date values; the stored times
/// are compared as they are, `now` is a time of day.
int wantedEvent(double clockIn, double clockOut, double now);

} // namespace Tavrel
