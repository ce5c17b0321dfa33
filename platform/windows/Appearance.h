#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// A colour as stored, 0x00BBGGRR.
QColor storedColour(std::uint32_t colour);

/// The typeface of all windows, "MS Sans Serif" or what comes closest to its narrow letters. A
/// point is 20 twips, so that text keeps its size beside the controls on any display.
QFont windowFont(double points, bool bold = false);

/// The size of text for which no other is given.
inline constexpr double WindowFontPoints = 8.25;

/// `font`, made narrower until `text` fits into `width` pixels, down to half its own width.
QFont fittedFont(QFont font, const QString &text, int width);

/// How far inside a button the line of drawFocus runs, in pixels.
inline constexpr int FocusMargin = 5;

/// Draws the dotted line inside a button that has the focus, which shows on any background.
void drawFocus(QPainter &painter, const QRect &button, const QColor &colour);

} // namespace Tavrel
