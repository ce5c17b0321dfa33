#pragma once

#include <QLineEdit>

namespace Tavrel
{

/// A text box that the user can focus and select in, but not edit. The text stands at the left,
/// also one that runs from right to left.
class TextBox : public QLineEdit
{
public:
    /// What becomes of a text that is wider than the box.
    enum class Overlong { ShowsBeginning, IsSqueezed };

    TextBox(Overlong overlong, QWidget *parent);

    /// Setting the text that is there already leaves the user's selection alone.
    void Text(const QString &text);

private:
    using QLineEdit::setText; // which does not squeeze
    int textWidth() const;

    Overlong m_overlong;
};

} // namespace Tavrel
