#include "platform/windows/Label.h"

#include "platform/windows/Appearance.h"

namespace Tavrel
{

void Label::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    setFont(fittedFont(font(), text(), width()));
}

} // namespace Tavrel
