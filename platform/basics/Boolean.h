#pragma once

#include <cstdint>

namespace Tavrel
{

/// A truth value 16 bits wide. Where a procedure asks for exactly True it compares with -1; any
/// other value but 0 is neither.
using Boolean = std::int16_t;

inline constexpr Boolean True = -1;
inline constexpr Boolean False = 0;

} // namespace Tavrel
