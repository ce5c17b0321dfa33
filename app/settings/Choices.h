#pragma once

#include "platform/basics/Failure.h"

#include <QString>

#include <array>
#include <cstdint>

namespace Tavrel
{

/// The entries that the positions stored in the settings refer to, counted from 0. Their order is
/// stored data: a new entry goes at the end, and none is ever moved.
namespace Choices
{

inline constexpr std::array Ports{"COM1", "COM2", "COM3", "COM4"};
inline constexpr std::array BaudRates{"9600", "4800", "2400"};
inline constexpr std::array LineFormats{"N,8,1", "O,7,1", "S,7,1"}; ///< parity, data, stop bits
inline constexpr std::array Tracks{"Track1", "Track2", "Track3"};

/// The entry at a stored position. Throws Failure::SubscriptOutOfRange if there is none.
template <typename Entries> QString entryAt(const Entries &choices, std::int16_t index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= choices.size())
        throw Failure(Failure::SubscriptOutOfRange);
    return QString::fromLatin1(choices[static_cast<std::size_t>(index)]);
}

} // namespace Choices

} // namespace Tavrel
