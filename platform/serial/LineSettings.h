#pragma once

#include <QString>

#include <termios.h>

namespace Tavrel
{

/// The line settings of a serial port, as the system takes them.
struct LineSettings {
    speed_t rate;         ///< one of the B constants
    tcflag_t controlBits; ///< parity, data bits and stop bits, within LineControlMask
    bool checksParity;    ///< whether received bytes carry a parity bit to be checked
};

/// The control bits that LineSettings governs.
inline constexpr tcflag_t LineControlMask = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR;

/// `text` as rate, parity letter (N, O, E, M or S, in either case), data bits (7 or 8) and stop
/// bits (1 or 2), separated by commas. The rate is one that the system has a constant for, 110 to
/// 115200. Failure EINVAL for anything else.
LineSettings parseLineSettings(const QString &text);

} // namespace Tavrel
