#pragma once

#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The device of port `port`, counted from 1: the first that exists of the link COMn in the
/// user's settings folder, the link /dev/COMn, and /dev/ttyS(n-1). A link that points nowhere
/// exists too.
QString serialDevice(std::int16_t port);

} // namespace Tavrel
