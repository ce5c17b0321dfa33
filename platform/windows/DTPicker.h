#pragma once

#include <QAbstractSpinBox>
#include <QDate>
#include <QTime>

/// A picker of a time of day, in the user's long format: an edit field that takes any text that
/// tells a time, digits alone too ("7:30", "073015"), and spin buttons and arrow keys that step
/// the hours, minutes or seconds at the cursor. Text that tells no time falls back to the value
/// before it.
class DTPicker : public QAbstractSpinBox
{
public:
    /// The dates that a value may come with; they are not shown and not kept.
    static constexpr QDate MinDate = QDate::fromJulianDay(2305814); ///< 1 January 1601
    static constexpr QDate MaxDate = QDate::fromJulianDay(5373484); ///< 31 December 9999

    explicit DTPicker(QWidget *parent);

    /// The time that the field tells, also while it is being typed.
    QTime Value() const;

    /// Takes a text that tells a time of day. Failure 13, with the old value kept, when it tells
    /// none, or has a date out of range with it.
    void Value(const QString &text);

    void stepBy(int steps) override;

protected:
    StepEnabled stepEnabled() const override { return StepUpEnabled | StepDownEnabled; }
    bool eventFilter(QObject *field, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    /// The hours, minutes and seconds are the first three groups of digits in the field.
    struct Group {
        qsizetype start;
        qsizetype length;
    };

    QTime typedTime() const;
    void show(const QTime &time);
    Group group(int index) const;
    int groupAtCursor() const;
    void select(int index);

    QTime m_value{0, 0};
};
