#pragma once

#include <QString>

namespace Tavrel
{

/// The title of the application: of its message boxes, its settings folder and its settings. It is
/// also the name under which the desktop knows the program.
inline constexpr QLatin1StringView ApplicationTitle("Tavrel");

} // namespace Tavrel
