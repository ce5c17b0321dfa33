#pragma once

#include "platform/Failure.h"

#include <QAbstractButton>
#include <QColor>
#include <QFont>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>

#include <cstdint>
#include <map>

inline constexpr int TwipsPerPixel = 15;

/// A length in twips as logical pixels, to the nearest.
constexpr int pixels(int twips)
{
    return (twips + TwipsPerPixel / 2) / TwipsPerPixel;
}

/// Place and size of a control in its container, in twips.
struct Placement {
    int Left;
    int Top;
    int Width;
    int Height;
};

void place(QWidget &control, const Placement &placement);

/// A colour as stored, 0x00BBGGRR.
QColor storedColour(std::uint32_t colour);

/// The typeface of all windows, "MS Sans Serif" or what comes closest to its narrow letters. A
/// point is 20 twips, so that text keeps its size beside the controls on any display.
QFont windowFont(double points, bool bold = false);

/// The size of text that has no size of its own told.
inline constexpr double WindowFontPoints = 8.25;

/// `font`, made narrower until `text` fits into `width` pixels, down to half its own width.
QFont fittedFont(QFont font, const QString &text, int width);

/// Controls under one name with an index. It does not own them.
template <typename Control> class ControlArray
{
public:
    void add(int index, Control *control) { m_controls[index] = control; }

    /// Failure 9 when there is no control of this index.
    Control *operator()(int index) const
    {
        const auto found = m_controls.find(index);
        if (found == m_controls.end())
            throw Failure(Failure::SubscriptOutOfRange);
        return found->second;
    }

private:
    std::map<int, Control *> m_controls;
};

/// A label whose text is squeezed, not cut, when the typeface at hand is too wide for its place.
class Label : public QLabel
{
public:
    Label(const QString &caption, QWidget *parent) : QLabel(caption, parent) {}

protected:
    void resizeEvent(QResizeEvent *event) override;
};

/// An opaque bitmap that covers the whole of the control.
class Image : public QWidget
{
public:
    Image(const QPixmap &picture, QWidget *parent);

    /// Brings the image in front of the others in its container.
    void ZOrder() { raise(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_picture;
};

/// A text box that the user can focus and select in, but not edit. The text stands at the left,
/// also one that runs from right to left.
class TextBox : public QLineEdit
{
public:
    /// What becomes of a text that is wider than the box.
    enum class Overlong { ShowsBeginning, IsSqueezed };

    TextBox(Overlong overlong, QWidget *parent);

    QString Text() const { return text(); }

    /// Setting the text that is there already leaves the user's selection alone.
    void Text(const QString &text);

private:
    int textWidth() const;

    Overlong m_overlong;
};

/// A command button of the platform's look that shows its focus also where the platform's own mark
/// of it, a line round the button, is lost on a dark window.
class CommandButton : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// An option button in graphical style: a push button that stays down while it is selected, in
/// colours of its own. The options in one container exclude each other; `toggled(true)` says
/// that the button became selected, by the user or by the program.
class OptionButton : public QAbstractButton
{
public:
    OptionButton(const QString &caption, QWidget *parent);

    bool Value() const { return isChecked(); }
    void Value(bool selected) { setChecked(selected); }

    void ForeColor(const QColor &colour);
    void BackColor(const QColor &colour);
    QColor ForeColor() const { return m_foreColor; }
    QColor BackColor() const { return m_backColor; }
    void FontBold(bool bold);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_foreColor;
    QColor m_backColor;
};
