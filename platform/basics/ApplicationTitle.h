#pragma once

#include <QString>

namespace Tavrel
{

/// The title of the application, used for message boxes, the settings folder and the settings file.
/// It is also the name by which the desktop knows the program.
inline constexpr QLatin1StringView ApplicationTitle("Tavrel");

} // namespace Tavrel
