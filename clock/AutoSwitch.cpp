#include "clock/AutoSwitch.h"

namespace Tavrel
{

int wantedEvent(double clockIn, double clockOut, double now)
{
    constexpr int ClockIn = 0;
    constexpr int ClockOut = 1;

    if (clockIn < clockOut)
        return clockIn <= now && now < clockOut ? ClockIn : ClockOut;
    return clockOut <= now && now < clockIn ? ClockOut : ClockIn;
}

} // namespace Tavrel
