#pragma once

#include <QAbstractButton>
#include <QColor>

namespace Tavrel
{

/// An option button in graphical style: a push button with its own colours that stays down while it
/// is selected. The options in one container exclude each other; `toggled(true)` is emitted when
/// the button becomes selected, by the user or by the program.
class OptionButton : public QAbstractButton
{
public:
    OptionButton(const QString &caption, QWidget *parent);

    bool Value() const { return isChecked(); }
    void Value(bool selected) { setChecked(selected); }

    void ForeColor(const QColor &colour);
    void BackColor(const QColor &colour);
    void FontBold(bool bold);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_foreColor;
    QColor m_backColor;
};

} // namespace Tavrel
