#pragma once

#include <QImage>

namespace Tavrel
{

/// The size of a figure in pixels.
inline constexpr int FigureWidth = 57, FigureHeight = 87;

/// The figure after the ten digits.
inline constexpr int ColonFigure = 10;

/// Draws a figure of the clock's face: 0 to 9 the digit, ColonFigure the colon. Any other number is
/// a fault of the caller.
///
/// The image is FigureWidth x FigureHeight at a display of `pixelRatio` (above 0) device pixels a
/// pixel, rounded up to whole ones. It is Format_RGB32, painted all over: green on black, its edges
/// smoothed with fifteen shades between the two and no other colour. The same arguments give the
/// same pixels at every call.
QImage drawFigure(int figure, double pixelRatio = 1);

} // namespace Tavrel
