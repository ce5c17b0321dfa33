#pragma once

#include <QWidget>

namespace Tavrel
{

/// Puts a window that is not shown yet in the middle of the whole screen, and keeps it there, its
/// frame included, for as long as nobody moves it.
void centreOnScreen(QWidget &window);

} // namespace Tavrel
