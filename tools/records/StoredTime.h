#pragma once

#include <QByteArrayView>

#include <optional>

namespace Tavrel
{

inline constexpr qint64 SecondsPerDay = 86400;

/// The stored date and time in `text`, in seconds since 1970, as if it were UTC. It is in the form
/// that the clock writes, YYYY-MM-DD HH:MM:SS, or has a T for the blank, or no seconds; nothing
/// otherwise.
std::optional<qint64> wallTimeOf(QByteArrayView text);

} // namespace Tavrel
