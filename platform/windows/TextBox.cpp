#include "platform/windows/TextBox.h"

#include "platform/windows/Appearance.h"

#include <QStyle>
#include <QStyleOptionFrame>

namespace Tavrel
{

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

/// The width that frame, padding and cursor leave for the text.
int TextBox::textWidth() const
{
    constexpr int Padding = 2; // Qt's own, on either side
    QStyleOptionFrame frame;
    initStyleOption(&frame);
    return style()->subElementRect(QStyle::SE_LineEditContents, &frame, this).width() -
           2 * Padding - style()->pixelMetric(QStyle::PM_TextCursorWidth, &frame, this);
}

} // namespace Tavrel
