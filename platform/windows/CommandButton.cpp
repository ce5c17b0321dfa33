#include "platform/windows/CommandButton.h"

#include "platform/windows/Appearance.h"

namespace Tavrel
{

void CommandButton::paintEvent(QPaintEvent *event)
{
    QPushButton::paintEvent(event);
    QPainter painter(this);
    if (hasFocus())
        drawFocus(painter, rect(), palette().color(QPalette::ButtonText));
}

} // namespace Tavrel
