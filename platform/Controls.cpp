#include "platform/Controls.h"

#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <qdrawutil.h>

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
    font.setStretch(QFont::Unstretched);
    const int natural = QFontMetrics(font).horizontalAdvance(text);
    if (natural > width && width > 0)
        font.setStretch(QFont::Unstretched * width / natural);
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
    resize(picture.deviceIndependentSize().toSize());
}

void Image::paintEvent(QPaintEvent *event)
{
    QPainter(this).drawPixmap(event->rect(), m_picture, event->rect());
}

TextBox::TextBox(QWidget *parent) : QLineEdit(parent)
{
    setReadOnly(true);
}

void TextBox::Text(const QString &wanted)
{
    if (wanted == text())
        return;
    setText(wanted);
    setCursorPosition(0);
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
    constexpr int FocusMargin = 5;

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

    if (hasFocus()) {
        painter.setPen(QPen(m_foreColor, 1, Qt::DotLine));
        painter.drawRect(
            rect().adjusted(FocusMargin, FocusMargin, -FocusMargin - 1, -FocusMargin - 1));
    }
}
