#pragma once

#include "platform/text/Conversions.h"

#include <QDateTime>
#include <QList>
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

/// A stretch of a time's text that shows one thing.
struct TimePart {
    enum Kind { Hours, Minutes, Seconds, HalfOfDay };
    Kind kind;
    qsizetype start;
    qsizetype length;
};

/// The parts of a text that formatTimeOfDay returned, or of a time as HH:mm:ss, in the order in
/// which they stand. The hours go from 0 to 23 where no half of the day is among them.
QList<TimePart> partsOfTime(const QString &text, const QLocale &locale = userLocale());

/// The time that `text` gives when nothing in it is a date: a time as parseDateAndTime takes it,
/// else one to three numbers that are hours, minutes and seconds whatever parts them ("7.30",
/// "7h30", "0730"), with or without AM or PM behind them ("5 p.m."). Invalid for any other text.
QTime readNumbersAsTime(const QString &text, const QLocale &locale = userLocale());
