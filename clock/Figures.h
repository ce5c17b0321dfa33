#pragma once

#include <QImage>

namespace Tavrel
{

/// The size of a figure in pixels.
inline constexpr int FigureWidth = 57, FigureHeight = 87;

/// The figure after the ten digits.
inline constexpr int ColonFigure = 10;

/// Draws a figure of the clock face: 0 to 9 a digit, ColonFigure the colon. Any other number is a
/// programming error.
///
/// The image is FigureWidth x FigureHeight, times `pixelRatio` (device pixels per pixel, above 0),
/// rounded up. It is Format_RGB32 and painted completely: green on black, its edges smoothed with
/// fifteen shades between the two and no other colour. The same arguments always give the same
/// pixels.
QImage drawFigure(int figure, double pixelRatio = 1);

} // namespace Tavrel
