#pragma once

#include <QWidget>

namespace Tavrel
{

/// Centres a window that is not shown yet on the whole screen, including its frame, and keeps it
/// centred until it is moved.
void centreOnScreen(QWidget &window);

} // namespace Tavrel
