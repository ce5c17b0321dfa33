#pragma once

#include <QLineEdit>

namespace Tavrel
{

/// A text box in which the user can set the focus and select, but not edit. All text is aligned
/// left, even a date that runs from right to left, as in Arabic or Hebrew.
class TextBox : public QLineEdit
{
public:
    /// What happens to text that is wider than the box.
    enum class Overlong { ShowsBeginning, IsSqueezed };

    TextBox(Overlong overlong, QWidget *parent);

    /// Sets the text. If it is unchanged, so is the selection.
    void Text(const QString &text);

private:
    using QLineEdit::setText; // does not squeeze
    int textWidth() const;

    Overlong m_overlong;
};

} // namespace Tavrel
