#include "platform/Controls.h"

#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFrame>
#include <qdrawutil.h>

#include <algorithm>

void place(QWidget &control, const Placement &placement)
{
    control.setGeometry(pixels(placement.Left), pixels(placement.Top), pixels(placement.Width),
                        pixels(placement.Height));
}

QColor storedColour(std::uint32_t colour)
{
    return QColor(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
}

QFont windowFont(double points, bool bold)
{
    constexpr int TwipsPerPoint = 20;
    QFont font;
    font.setFamilies({QStringLiteral("MS Sans Serif"), QStringLiteral("Microsoft Sans Serif"),
                      QStringLiteral("Liberation Sans"), QStringLiteral("Arial"),
                      QStringLiteral("Helvetica")});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels(static_cast<int>(points * TwipsPerPoint)));
    font.setBold(bold);
    return font;
}

QFont fittedFont(QFont font, const QString &text, int width)
{
    constexpr int Narrowest = QFont::Unstretched / 2; // beyond which nobody could read it
    font.setStretch(QFont::Unstretched);
    const auto advance = [&] { return QFontMetrics(font).horizontalAdvance(text); };
    // Not always at the first go, for letters may be whole pixels wide.
    while (advance() > width && font.stretch() > Narrowest)
        font.setStretch(std::max(Narrowest, font.stretch() * width / advance()));
    return font;
}

void Label::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    setFont(fittedFont(font(), text(), width()));
}

Image::Image(const QPixmap &picture, QWidget *parent) : QWidget(parent), m_picture(picture)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
}

void Image::paintEvent(QPaintEvent *)
{
    QPainter(this).drawPixmap(0, 0, m_picture);
}

TextBox::TextBox(Overlong overlong, QWidget *parent) : QLineEdit(parent), m_overlong(overlong)
{
    setReadOnly(true);
    setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
}

void TextBox::Text(const QString &wanted)
{
    if (wanted == text())
        return;
    if (m_overlong == Overlong::IsSqueezed)
        setFont(fittedFont(font(), wanted, textWidth()));
    setText(wanted);
    setCursorPosition(0);
}

/// What the frame, the padding and the cursor leave for the text.
int TextBox::textWidth() const
{
    constexpr int Padding = 2; // the toolkit's own, on either side
    QStyleOptionFrame frame;
    initStyleOption(&frame);
    return style()->subElementRect(QStyle::SE_LineEditContents, &frame, this).width() -
           2 * Padding - style()->pixelMetric(QStyle::PM_TextCursorWidth, &frame, this);
}

namespace
{

constexpr int FocusMargin = 5;

/// The dotted line inside a button that has the focus, which shows on any background.
void drawFocus(QPainter &painter, const QRect &button, const QColor &colour)
{
    painter.setPen(QPen(colour, 1, Qt::DotLine));
    painter.drawRect(button.adjusted(FocusMargin, FocusMargin, -FocusMargin - 1, -FocusMargin - 1));
}

} // namespace

void CommandButton::paintEvent(QPaintEvent *event)
{
    QPushButton::paintEvent(event);
    QPainter painter(this);
    if (hasFocus())
        drawFocus(painter, rect(), palette().color(QPalette::ButtonText));
}

OptionButton::OptionButton(const QString &caption, QWidget *parent) : QAbstractButton(parent)
{
    setText(caption);
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void OptionButton::ForeColor(const QColor &colour)
{
    m_foreColor = colour;
    update();
}

void OptionButton::BackColor(const QColor &colour)
{
    m_backColor = colour;
    update();
}

void OptionButton::FontBold(bool bold)
{
    QFont changed = font();
    changed.setBold(bold);
    setFont(changed);
}

void OptionButton::paintEvent(QPaintEvent *)
{
    constexpr int BevelWidth = 2;

    QPalette bevel(m_backColor);
    bevel.setColor(QPalette::Light, m_backColor.lighter(160));
    bevel.setColor(QPalette::Dark, m_backColor.darker(180));
    const QBrush face(m_backColor);
    const bool sunken = isChecked() || isDown();

    QPainter painter(this);
    qDrawShadePanel(&painter, rect(), bevel, sunken, BevelWidth, &face);
    painter.setPen(m_foreColor);
    painter.setFont(fittedFont(font(), text(), width() - 2 * FocusMargin));
    painter.drawText(sunken ? rect().translated(1, 1) : rect(), Qt::AlignCenter, text());

    if (hasFocus())
        drawFocus(painter, rect(), m_foreColor);
}
