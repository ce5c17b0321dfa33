#pragma once

#include <QString>

namespace Tavrel
{

/// The seven values that the program keeps between runs, apart from the punches. They are not
/// cached: each is read when it is needed, and a change takes effect at the next read.
namespace UserSettings
{

struct Key {
    const char *section;
    const char *name;
    const char *fallback; ///< the value of a missing key
};

inline constexpr Key Comport{"Communication", "Comport", "0"};   ///< port number less 1
inline constexpr Key BaudRate{"Communication", "BaudRate", "0"}; ///< index into the baud rates
inline constexpr Key Format{"Communication", "Settings", "0"};   ///< index into the line formats
inline constexpr Key ClockIn{"Punch", "ClockIn", "00:00:00"};    ///< time of day, as text
inline constexpr Key ClockOut{"Punch", "ClockOut", "00:00:00"};  ///< time of day, as text
inline constexpr Key AutoSwitch{"Punch", "AutoSwitch", "0"};     ///< 1 switches it on
inline constexpr Key Track{"MSR", "Track", "1"};                 ///< index into tracks 1 to 3

/// The stored text of `key`, or its fallback.
QString read(const Key &key);

/// Stores `text` under `key`. Throws Failure::PathFileAccess if it cannot be written.
void write(const Key &key, const QString &text);

} // namespace UserSettings

} // namespace Tavrel
