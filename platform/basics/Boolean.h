#pragma once

#include <cstdint>

namespace Tavrel
{

/// A 16-bit truth value. A procedure that asks for exactly True compares with -1; values other than
/// -1 and 0 are neither True nor False.
using Boolean = std::int16_t;

inline constexpr Boolean True = -1;
inline constexpr Boolean False = 0;

} // namespace Tavrel
