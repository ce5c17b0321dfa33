#include "platform/windows/DTPicker.h"

#include "platform/basics/Failure.h"
#include "platform/text/RegionalFormat.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStyle>
#include <QStyleOptionSpinBox>

namespace
{

constexpr int GroupCount = 3;

int wrapped(int value, int count)
{
    return (value % count + count) % count;
}

} // namespace

DTPicker::DTPicker(QWidget *parent) : QAbstractSpinBox(parent)
{
    lineEdit()->installEventFilter(this);
    show(m_value);
}

QTime DTPicker::Value() const
{
    const QTime typed = typedTime();
    return typed.isValid() ? typed : m_value;
}

void DTPicker::Value(const QString &text)
{
    const auto [date, time] = parseDateAndTime(text);
    if (date.isValid() && (date < MinDate || date > MaxDate))
        throw Failure(Failure::TypeMismatch);
    show(time);
}

void DTPicker::stepBy(int steps)
{
    const int stepped = groupAtCursor();
    const QTime now = Value();
    switch (stepped) {
    case 0:
        show(QTime(wrapped(now.hour() + steps, 24), now.minute(), now.second()));
        break;
    case 1:
        show(QTime(now.hour(), wrapped(now.minute() + steps, 60), now.second()));
        break;
    default:
        show(QTime(now.hour(), now.minute(), wrapped(now.second() + steps, 60)));
    }
    select(stepped);
}

bool DTPicker::eventFilter(QObject *field, QEvent *event)
{
    // A click selects the group that it falls on, so that what is typed then replaces it.
    if (event->type() == QEvent::MouseButtonRelease && !lineEdit()->hasSelectedText())
        select(groupAtCursor());
    return QAbstractSpinBox::eventFilter(field, event);
}

void DTPicker::keyPressEvent(QKeyEvent *event)
{
    const QString typed = event->text();
    const int cursor = lineEdit()->cursorPosition();
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        // What tells no time is shown to be none before anything is done with it.
        const bool tellsTime = typedTime().isValid();
        show(Value());
        selectAll();
        event->setAccepted(!tellsTime);
    } else if (!typed.isEmpty() && !typed[0].isDigit() && typed[0].isPrint() &&
               !lineEdit()->hasSelectedText() && lineEdit()->text().mid(cursor, 1) == typed) {
        lineEdit()->setCursorPosition(cursor + 1); // a separator that is there already
        select(groupAtCursor() + (group(groupAtCursor()).start > cursor ? 0 : 1));
    } else {
        QAbstractSpinBox::keyPressEvent(event);
    }
}

void DTPicker::focusOutEvent(QFocusEvent *event)
{
    show(Value());
    QAbstractSpinBox::focusOutEvent(event);
}

/// The time that the field tells; invalid when it tells none.
QTime DTPicker::typedTime() const
{
    static const QRegularExpression digitsAlone(
        QStringLiteral("^ *([0-9]{1,2})([0-9]{2})?([0-9]{2})? *$"));
    const QString text = lineEdit()->text();
    if (const auto digits = digitsAlone.match(text); digits.hasMatch())
        return QTime(digits.captured(1).toInt(), digits.captured(2).toInt(),
                     digits.captured(3).toInt());
    try {
        return parseDateAndTime(text).time;
    } catch (const Failure &) {
        return {};
    }
}

/// Shows `time` in the user's format, or in the shortest one where that does not fit.
void DTPicker::show(const QTime &time)
{
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    const int room =
        style()
            ->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxEditField, this)
            .width();
    const QString regional = formatTimeOfDay(time);
    const bool fits = QFontMetrics(font()).horizontalAdvance(formatTimeOfDay({22, 58, 58})) <= room;
    lineEdit()->setText(fits ? regional : time.toString(u"HH:mm:ss"));
    m_value = time;
}

/// The given group of digits; an empty one behind the text when there are not so many.
DTPicker::Group DTPicker::group(int index) const
{
    static const QRegularExpression digits(QStringLiteral("\\d+"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    auto groups = digits.globalMatch(lineEdit()->text());
    for (int i = 0; groups.hasNext(); ++i) {
        const auto match = groups.next();
        if (i == index)
            return {match.capturedStart(), match.capturedLength()};
    }
    return {lineEdit()->text().size(), 0};
}

/// The index of the group that the cursor stands in or behind. The first one when all is
/// selected, as when the field has been entered by the keyboard.
int DTPicker::groupAtCursor() const
{
    const QLineEdit *field = lineEdit();
    if (field->selectedText() == field->text())
        return 0;
    int index = 0;
    while (index + 1 < GroupCount && group(index + 1).length > 0 &&
           group(index + 1).start <= field->cursorPosition())
        ++index;
    return index;
}

void DTPicker::select(int index)
{
    const Group selected = group(index);
    lineEdit()->setSelection(static_cast<int>(selected.start), static_cast<int>(selected.length));
}
