#pragma once

#include "platform/text/DatesAndTimes.h"

#include <QAbstractSpinBox>

namespace Tavrel
{

/// Picks a time of day, in the user's long format (as HH:mm:ss if that is too wide). It always
/// shows a valid time, which is its value.
///
/// Hours, minutes, seconds and, in a 12-hour format, the half of the day are groups. One of them is
/// current: it is selected, and keys, wheel and spin buttons act on it:
/// - Typed text is read by readTime, from the current group on, and replaces the groups that it
///   covers. With everything selected it starts from midnight, with the same result as pasting the
///   text. Typing moves on to the next group when one is full or no second digit can follow. Hours
///   that do not exist leave the group unchanged. In a 12-hour format 1 to 12 stay in their half
///   unless everything was selected, 13 to 23 are afternoon hours and 00 is midnight.
/// - A separator of any length moves to the next group, unless the digits typed before it
///   already did.
/// - A, P and letters found in only one of the format's two marks choose the half of the day, from
///   any group, even in a 24-hour format. Letters without a meaning are ignored.
/// - Left, Right, Home, End and a click choose the group; entering the field with the keyboard
///   chooses the hours, which are current at first, too. The wheel chooses the group under the
///   pointer. Up, Down, the wheel and the spin buttons step the group and wrap around.
/// - Delete, Backspace and Cut set the group to 00 (the hours of a 12-hour format to 12 in their
///   half; the half stays as it is), or the time to midnight if everything is selected. Right after
///   typing has moved on to the next group, Backspace moves back.
/// - Pasted or dropped text replaces the whole time, as readTime reads it; if it is not a time it
///   is ignored.
/// - Enter, Esc and Tab are left to the window.
///
/// The picker keeps the groups and the typed text, and never parses its own display. QTimeEdit
/// does, and in Qt 6.4 loses digits typed after a click, reads "7:30" as 07:15:30 and accepts only
/// its own format when pasting; hence this class.
class DTPicker : public QAbstractSpinBox
{
public:
    /// The range of dates that a value may include; the date is neither shown nor kept.
    static constexpr QDate MinDate = QDate::fromJulianDay(2305814); ///< 1 January 1601
    static constexpr QDate MaxDate = QDate::fromJulianDay(5373484); ///< 31 December 9999

    explicit DTPicker(QWidget *parent);

    /// The time that the field shows, in whole seconds, even while it is being typed.
    QTime Value() const { return m_value; }

    /// Sets the time from a text that parseDateAndTime accepts; a date alone means midnight. Throws
    /// Failure::TypeMismatch, and keeps the old value, if it cannot be parsed or its date is out of
    /// range.
    void Value(const QString &text);

    void stepBy(int steps) override;

    /// Only the picker itself changes the text: any other change is undone at once.
    QValidator::State validate(QString &input, int &position) const override;

protected:
    StepEnabled stepEnabled() const override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *field, QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void setTime(const QTime &time);
    bool regionalFits() const;
    bool allSelected() const;

    qsizetype group(TimePart::Kind kind) const;
    qsizetype groupAt(int position) const;
    void choose(qsizetype group);
    void chooseAll();
    void select();

    void type(const QString &text);
    void readTyped();
    int inHalf(int number, const QTime &time) const;
    void setCurrent(int number);
    void erase();
    void paste(const QString &text);

    QTime m_value{0, 0};
    QString m_text;              ///< the value as it is shown
    QList<TimePart> m_groups;    ///< of m_text
    qsizetype m_current = 0;     ///< an index of m_groups
    bool m_passedOn = false;     ///< the last key filled the group before the current one
    QString m_typed;             ///< what has been typed since a group was chosen
    qsizetype m_typedFrom = 0;   ///< the group that was current then
    QTime m_typedOver;           ///< the value then
    bool m_typedOverAll = false; ///< everything was selected then
};

} // namespace Tavrel
