#pragma once

#include "platform/text/RegionalFormat.h"

#include <QAbstractSpinBox>

namespace Tavrel
{

/// A picker of a time of day, in the user's long format (as HH:mm:ss where that is too wide). It
/// always shows a time, and what it shows is its value.
///
/// The hours, minutes, seconds and, in a 12-hour format, the half of the day are groups. One of
/// them is current; it is selected, and keys, wheel and spin buttons act on it:
/// - What is typed, from the current group on, is read by readTime and replaces the groups that it
///   gives; with all selected it begins at midnight, and gives what the same text gives when it is
///   pasted. Digits pass on to the next group when theirs is full or no second digit can follow.
///   Hours that do not exist leave the group as it was. In a 12-hour format 1 to 12 stay in their
///   half, unless all was selected, 13 to 23 are hours of the afternoon and 00 is midnight.
/// - A separator, of any length, steps to the next group, unless the digits before it have just
///   passed on to it.
/// - A, P and the letters by which the format's own marks differ choose the half of the day, from
///   any group and in a 24-hour format, too. Letters without a meaning are not taken.
/// - Left, Right, Home, End and a click choose the group; entering the field by a key chooses the
///   hours, which are also the group of a field not yet touched. The wheel chooses the group
///   under the pointer. Up, Down, the wheel and the spin buttons step the group, around its end.
/// - Delete, Backspace and Cut make the group 00 (the hours of a 12-hour format 12, in their half),
///   or all of it midnight when all is selected. Right after a group has passed on, Backspace goes
///   back to it.
/// - What is pasted or dropped replaces all, as readTime reads it; when it gives no time it is not
///   taken.
/// - Enter, Esc and Tab are left to the window.
///
/// The picker keeps the groups and what has been typed, and never reads its own text again.
/// QTimeEdit does, and in 6.4 loses digits typed after a click, reads "7:30" as 07:15:30 and takes
/// a paste in its own format alone; so this is a field of its own.
class DTPicker : public QAbstractSpinBox
{
public:
    /// The dates that a value may come with; they are not shown and not kept.
    static constexpr QDate MinDate = QDate::fromJulianDay(2305814); ///< 1 January 1601
    static constexpr QDate MaxDate = QDate::fromJulianDay(5373484); ///< 31 December 9999

    explicit DTPicker(QWidget *parent);

    /// The time that the field shows, in whole seconds, also while it is being typed.
    QTime Value() const { return m_value; }

    /// Takes a text that parseDateAndTime reads; a date alone gives midnight. Failure 13, with the
    /// old value kept, when it cannot be read, or its date is out of range.
    void Value(const QString &text);

    void stepBy(int steps) override;

    /// Nothing but the picker itself changes the text: any other change is undone at once.
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
    bool m_typedOverAll = false; ///< all of it was selected then
};

} // namespace Tavrel
