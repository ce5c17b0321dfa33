#pragma once

#include <QString>

#include <termios.h>

namespace Tavrel
{

/// The line settings of a serial port, in the terms of termios.
struct LineSettings {
    speed_t rate;         ///< one of the B constants
    tcflag_t controlBits; ///< parity, data bits and stop bits, within LineControlMask
    bool checksParity;    ///< whether received bytes carry a parity bit to be checked
};

/// The control bits that LineSettings governs.
inline constexpr tcflag_t LineControlMask = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR;

/// Parses `text`: rate, parity letter (N, O, E, M or S, in either case), data bits (7 or 8) and
/// stop bits (1 or 2), separated by commas. The rate is 110, 300, 600, 1200, 2400, 4800, 9600,
/// 19200, 38400, 57600 or 115200. Throws EINVAL for anything else.
LineSettings parseLineSettings(const QString &text);

} // namespace Tavrel
