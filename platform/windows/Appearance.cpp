#include "platform/windows/Appearance.h"

#include "platform/windows/Twips.h"

#include <QFontMetrics>

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

QColor storedColour(std::uint32_t colour)
{
    return QColor(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
}

QFont windowFont(double points, bool bold)
{
    constexpr int TwipsPerPoint = 20;
    QFont font;
    font.setFamilies({u"MS Sans Serif"_s, u"Microsoft Sans Serif"_s, u"Liberation Sans"_s,
                      u"Arial"_s, u"Helvetica"_s});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels(static_cast<int>(points * TwipsPerPoint)));
    font.setBold(bold);
    return font;
}

QFont fittedFont(QFont font, const QString &text, int width)
{
    constexpr int Narrowest = QFont::Unstretched / 2; // anything narrower is illegible
    font.setStretch(QFont::Unstretched);
    const auto advance = [&] { return QFontMetrics(font).horizontalAdvance(text); };
    // One step may not be enough, because letter widths may be whole pixels.
    while (advance() > width && font.stretch() > Narrowest)
        font.setStretch(std::max(Narrowest, font.stretch() * width / advance()));
    return font;
}

void drawFocus(QPainter &painter, const QRect &button, const QColor &colour)
{
    painter.setPen(QPen(colour, 1, Qt::DotLine));
    painter.drawRect(button.adjusted(FocusMargin, FocusMargin, -FocusMargin - 1, -FocusMargin - 1));
}

} // namespace Tavrel
