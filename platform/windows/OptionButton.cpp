#include "platform/windows/OptionButton.h"

#include "platform/windows/Appearance.h"

#include <QPainter>
#include <qdrawutil.h>

namespace Tavrel
{

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

} // namespace Tavrel
