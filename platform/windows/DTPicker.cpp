#include "platform/windows/DTPicker.h"

#include "platform/basics/Failure.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStyle>
#include <QStyleOptionSpinBox>

#include <algorithm>
#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr int HoursOfHalf = 12;
constexpr int LineMargins = 4; ///< of a line edit, left and right together, in pixels

/// The unit of a part of the time: its length in seconds, and its range, 0 to `count` - 1.
struct Unit {
    int seconds;
    int count;

    int numberIn(const QTime &time) const
    {
        return time.msecsSinceStartOfDay() / 1000 / seconds % count;
    }

    /// `time` with another number of these units.
    QTime set(const QTime &time, int number) const
    {
        return time.addSecs((number - numberIn(time)) * seconds);
    }
};

/// In the order of TimePart::Kind.
constexpr std::array Units{Unit{3600, 24}, Unit{60, 60}, Unit{1, 60}, Unit{HoursOfHalf * 3600, 2}};

bool isMark(char32_t character)
{
    return QChar::isPunct(character) || QChar::isSymbol(character);
}

} // namespace

DTPicker::DTPicker(QWidget *parent) : QAbstractSpinBox(parent)
{
    setLocale(userLocale());
    lineEdit()->installEventFilter(this);
    lineEdit()->setDragEnabled(false); // a click on the selected group must not start a drag
    lineEdit()->setAcceptDrops(false); // the picker itself accepts drops
    setAcceptDrops(true);
    setTime(m_value);
    choose(group(TimePart::Hours));
}

void DTPicker::Value(const QString &text)
{
    const auto [date, time] = parseDateAndTime(text, locale());
    if (date.isValid() && (date < MinDate || date > MaxDate))
        throw Failure(Failure::TypeMismatch);
    setTime(time);
    choose(m_current);
}

void DTPicker::stepBy(int steps)
{
    const Unit &unit = Units[m_groups[m_current].kind];
    setCurrent((unit.numberIn(m_value) + steps % unit.count + unit.count) % unit.count);
    choose(m_current);
}

QValidator::State DTPicker::validate(QString &input, int & /*position*/) const
{
    input = m_text;
    return QValidator::Acceptable;
}

QAbstractSpinBox::StepEnabled DTPicker::stepEnabled() const
{
    return isReadOnly() ? StepNone : StepUpEnabled | StepDownEnabled;
}

bool DTPicker::event(QEvent *event)
{
    if (event->type() == QEvent::InputMethod) {
        // Text that an input method is still composing is not shown.
        type(static_cast<QInputMethodEvent *>(event)->commitString());
        return true;
    }
    const bool handled = QAbstractSpinBox::event(event);
    switch (event->type()) {
    case QEvent::Resize:
    case QEvent::FontChange:
    case QEvent::StyleChange:
    case QEvent::LocaleChange:
        setTime(m_value);
        choose(group(TimePart::Hours)); // the groups may have changed
        break;
    default:
        break;
    }
    return handled;
}

bool DTPicker::eventFilter(QObject *field, QEvent *event)
{
    if (event->type() != QEvent::MouseButtonRelease)
        return QAbstractSpinBox::eventFilter(field, event);
    const Qt::MouseButton button = static_cast<QMouseEvent *>(event)->button();
    if (button == Qt::MiddleButton) {
        paste(QApplication::clipboard()->text(QClipboard::Selection));
    } else {
        field->event(event); // first, because it copies the selected text to the primary selection
        if (button == Qt::LeftButton)
            allSelected() ? chooseAll() : choose(groupAt(lineEdit()->cursorPosition()));
    }
    return true;
}

void DTPicker::focusInEvent(QFocusEvent *event)
{
    QAbstractSpinBox::focusInEvent(event);
    switch (event->reason()) {
    case Qt::MouseFocusReason:        // the click chooses the group
    case Qt::ActiveWindowFocusReason: // the group stays
    case Qt::PopupFocusReason:
        break;
    default:
        choose(group(TimePart::Hours));
    }
}

void DTPicker::keyPressEvent(QKeyEvent *event)
{
    constexpr Qt::KeyboardModifiers Commands =
        Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const QString text = event->text();
    const int key = event->key();
    if (event->matches(QKeySequence::Paste)) {
        paste(QApplication::clipboard()->text());
    } else if (event->matches(QKeySequence::Cut)) {
        lineEdit()->copy();
        erase();
    } else if (event->matches(QKeySequence::SelectAll)) {
        chooseAll();
    } else if (key == Qt::Key_Backspace && m_passedOn) {
        choose(m_current - 1);
    } else if (key == Qt::Key_Backspace || key == Qt::Key_Delete) {
        erase();
    } else if (key == Qt::Key_Left || key == Qt::Key_Right) {
        choose(m_current + (key == Qt::Key_Left ? -1 : 1));
    } else if (key == Qt::Key_Home || key == Qt::Key_End) {
        choose(key == Qt::Key_Home ? 0 : m_groups.size() - 1);
    } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        event->ignore();
    } else if (!text.isEmpty() && QChar::isPrint(text.toUcs4()[0]) &&
               !(event->modifiers() & Commands)) {
        type(text);
    } else {
        QAbstractSpinBox::keyPressEvent(event);
    }
}

void DTPicker::wheelEvent(QWheelEvent *event)
{
    const QPoint pointer = lineEdit()->mapFromParent(event->position().toPoint());
    if (lineEdit()->rect().contains(pointer))
        choose(groupAt(lineEdit()->cursorPositionAt(pointer)));
    QAbstractSpinBox::wheelEvent(event);
}

void DTPicker::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(u"&Copy"_s, lineEdit(), &QLineEdit::copy);
    menu->addAction(u"&Paste"_s, this, [this] { paste(QApplication::clipboard()->text()); })
        ->setEnabled(!isReadOnly());
    menu->popup(event->globalPos());
}

void DTPicker::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasText() && !isReadOnly())
        event->acceptProposedAction();
}

void DTPicker::dropEvent(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
    paste(event->mimeData()->text());
}

void DTPicker::setTime(const QTime &time)
{
    m_value = time;
    m_text = regionalFits() ? formatTimeOfDay(time, locale()) : time.toString(u"HH:mm:ss");
    m_groups = partsOfTime(m_text, locale());
    lineEdit()->setText(m_text);
}

/// Whether every time fits in the user's format; all times are shown in the same format.
bool DTPicker::regionalFits() const
{
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxEditField, this);
    const QFontMetrics metrics(font());
    return std::ranges::all_of(std::array{QTime(10, 58, 58), QTime(22, 58, 58)}, [&](QTime time) {
        const QString text = formatTimeOfDay(time, locale());
        return metrics.horizontalAdvance(text) <= field.width() - LineMargins;
    });
}

bool DTPicker::allSelected() const
{
    return lineEdit()->selectedText() == m_text;
}

/// The index of the group of the given kind; m_groups.size() if there is none.
qsizetype DTPicker::group(TimePart::Kind kind) const
{
    return std::ranges::find(m_groups, kind, &TimePart::kind) - m_groups.begin();
}

/// The index of the group at or before cursor `position`; 0 before the first.
qsizetype DTPicker::groupAt(int position) const
{
    const auto next = std::ranges::upper_bound(m_groups, position, {}, &TimePart::start);
    return std::max<qsizetype>(next - m_groups.begin() - 1, 0);
}

/// Makes the group current, with nothing typed; the nearest one if there is no such group.
void DTPicker::choose(qsizetype group)
{
    m_current = std::clamp<qsizetype>(group, 0, m_groups.size() - 1);
    m_typed.clear();
    m_passedOn = false;
    select();
}

void DTPicker::chooseAll()
{
    choose(group(TimePart::Hours));
    lineEdit()->selectAll();
}

void DTPicker::select()
{
    const TimePart &group = m_groups[m_current];
    lineEdit()->setSelection(static_cast<int>(group.start), static_cast<int>(group.length));
}

void DTPicker::type(const QString &text)
{
    if (isReadOnly())
        return;
    for (const char32_t character : text.toUcs4()) {
        if (!m_typed.isEmpty()) {
            m_typed += QString::fromUcs4(&character, 1);
            readTyped();
        } else if (isMark(character)) {
            choose(m_current + 1);
        } else {
            m_typedFrom = m_current;
            m_typedOver = m_value;
            m_typedOverAll = allSelected();
            m_typed = QString::fromUcs4(&character, 1);
            readTyped();
        }
    }
}

/// Shows the typed text, merged into the time that it is typed over.
void DTPicker::readTyped()
{
    const qsizetype lastGroup = m_groups.size() - 1;
    const bool overMark = m_groups[m_typedFrom].kind == TimePart::HalfOfDay;
    const qsizetype first = std::min(m_typedFrom + overMark, lastGroup);
    const TimeReading typed = readTime(m_typed, locale(), m_groups[first].kind);
    const qsizetype count = typed.numbers.size();
    if (count == 0 && typed.half == DayHalf::Whole)
        return;

    const bool fromMidnight = m_typedOverAll && count > 0;
    QTime time = fromMidnight ? QTime(0, 0) : m_typedOver;
    for (qsizetype i = 0; i < count; ++i) {
        const auto [number, digits] = typed.numbers[i];
        const auto kind = m_groups[std::min(first + i, lastGroup)].kind;
        const bool ofHalf = kind == TimePart::Hours && !fromMidnight && (number > 0 || digits == 1);
        if (kind != TimePart::HalfOfDay && number < Units[kind].count)
            time = Units[kind].set(time, ofHalf ? inHalf(number, time) : number);
    }
    if (typed.half != DayHalf::Whole)
        time = Units[TimePart::HalfOfDay].set(time, typed.half == DayHalf::Afternoon);
    setTime(time);

    const qsizetype filled = count > 0 ? std::min(first + count - 1, lastGroup) : m_typedFrom;
    m_current = count > 0 ? std::min(filled + typed.ended, lastGroup) : first;
    m_passedOn = m_current != filled && m_typed.back().isLetterOrNumber();
    select();
}

/// The hour that `number` means: in a 12-hour format, 0 to 12 are hours in `time`'s half of the
/// day.
int DTPicker::inHalf(int number, const QTime &time) const
{
    if (group(TimePart::HalfOfDay) == m_groups.size() || number > HoursOfHalf)
        return number;
    return number % HoursOfHalf + (time.hour() < HoursOfHalf ? 0 : HoursOfHalf);
}

/// Sets only the number of the current group; hours are 0 to 23.
void DTPicker::setCurrent(int number)
{
    setTime(Units[m_groups[m_current].kind].set(m_value, number));
}

void DTPicker::erase()
{
    if (isReadOnly())
        return;
    if (allSelected())
        setTime(QTime(0, 0));
    else if (m_groups[m_current].kind == TimePart::Hours)
        setCurrent(inHalf(0, m_value));
    else if (m_groups[m_current].kind != TimePart::HalfOfDay)
        setCurrent(0);
    choose(m_current);
}

void DTPicker::paste(const QString &text)
{
    if (isReadOnly())
        return;
    if (const QTime time = readTime(text, locale()).time; time.isValid())
        setTime(time);
    choose(m_current);
}

} // namespace Tavrel
