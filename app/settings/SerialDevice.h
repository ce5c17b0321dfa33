#pragma once

#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The device of port `port`, counted from 1: the link COMn in the user's settings folder if it
/// exists, else the link /dev/COMn if it exists, else /dev/ttyS(n-1). A dangling link counts as
/// existing.
QString serialDevice(std::int16_t port);

} // namespace Tavrel
