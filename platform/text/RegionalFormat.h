#pragma once

#include "platform/text/Conversions.h"

#include <QDateTime>
#include <QLocale>
#include <QString>

/// A date value is a floating-point number of days. Its whole part counts the days since
/// 30 December 1899 and its fraction is the time of day; a time without a date has the whole
/// part 0.
double timeOfDay(const QTime &time);

/// A moment of the calendar, or of any day.
struct DateAndTime {
    QDate date; ///< invalid where there is only a time
    QTime time; ///< 00:00:00 where there is only a date
};

/// `text` as a date, a time or both: in the user's long and short formats, then in the plain
/// forms of the 24-hour and the 12-hour clock and in ISO dates. Failure 13 when it is neither,
/// also when it is empty.
DateAndTime parseDateAndTime(const QString &text, const QLocale &locale = userLocale());

/// The same as a date value, for comparing.
double timeText(const QString &text, const QLocale &locale = userLocale());

/// Six digits: hours from 00 to 23, minutes, seconds.
QString formatHHNNSS(const QDateTime &dateTime);

/// The date alone, in the user's long format.
QString formatLongDate(const QDateTime &dateTime, const QLocale &locale = userLocale());

/// The user's short date, a blank and the long time without a zone.
QString formatDateTime(const QDateTime &dateTime, const QLocale &locale = userLocale());

/// A time of day in the user's long format, or as HH:mm:ss where that format does not read back
/// as the same time. What it returns, parseDateAndTime reads back.
QString formatTimeOfDay(const QTime &time, const QLocale &locale = userLocale());
