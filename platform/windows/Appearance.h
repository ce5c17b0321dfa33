#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// Converts a colour stored as 0x00BBGGRR.
QColor storedColour(std::uint32_t colour);

/// The font of all windows, "MS Sans Serif" or the closest to its narrow letters. A point is 20
/// twips, so that text keeps its size relative to the controls on any display.
QFont windowFont(double points, bool bold = false);

/// The default text size, in points.
inline constexpr double WindowFontPoints = 8.25;

/// `font`, made narrower until `text` fits into `width` pixels, down to half its own width.
QFont fittedFont(QFont font, const QString &text, int width);

/// The distance of drawFocus's line from the edge of the button, in pixels.
inline constexpr int FocusMargin = 5;

/// Draws the dotted focus line inside a button; `colour` must contrast with the button.
void drawFocus(QPainter &painter, const QRect &button, const QColor &colour);

} // namespace Tavrel
