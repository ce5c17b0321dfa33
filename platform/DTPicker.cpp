#include "platform/DTPicker.h"

#include "platform/Failure.h"
#include "platform/RegionalFormat.h"

DTPicker::DTPicker(QWidget *parent) : QTimeEdit(parent)
{
    // The toolkit's editor, in 6.4, reads past the text's end where a mark for AM or PM stands
    // before the time, so such a format is left to the 24-hour clock.
    const QString pattern = longTimePattern();
    const qsizetype mark = pattern.indexOf(u"AP", 0, Qt::CaseInsensitive);
    const bool isSafe = mark < 0 || mark == pattern.size() - 2;

    setLocale(userLocale());
    setDisplayFormat(isSafe ? pattern : QStringLiteral("HH:mm:ss"));
    setWrapping(true);
}

void DTPicker::Value(const QString &text)
{
    const auto [date, time] = parseDateAndTime(text);
    if (date.isValid() && (date < MinDate || date > MaxDate))
        throw Failure(Failure::TypeMismatch);
    setTime(time);
}
