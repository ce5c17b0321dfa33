#pragma once

#include "platform/text/Conversions.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

namespace Tavrel
{

/// A date value is a floating-point number of days. Its whole part counts the days since
/// 30 December 1899 and its fraction is the time of day; a time without a date has the whole
/// part 0.
double timeOfDay(const QTime &time);

/// A moment of the calendar, or of any day.
struct DateAndTime {
    QDate date; ///< invalid where there is only a time
    QTime time; ///< 00:00:00 where there is only a date
};

/// `text` as a date, a time or both. A time is what readTime takes, except digits alone; a date is
/// in the user's short or long format, or of ISO. What can be both is a time, unless it holds "/"
/// or "-". Failure 13 when it is neither, also when it is empty.
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
/// as the same time. What it returns, parseDateAndTime reads back, in every locale.
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

enum class DayHalf { Whole, Morning, Afternoon };

/// What a text says of a time, as far as it has been written.
struct TimeReading {
    struct Number {
        int value; ///< 0 to 99, so it may be too large
        int digits;
    };
    QList<Number> numbers;         ///< the part that was asked for and those after it
    DayHalf half = DayHalf::Whole; ///< Whole where the text chooses none
    bool ended = false;            ///< whether one more digit would begin another number
    QTime time;                    ///< the time, where the text is that of one, else invalid
};

/// Reads one to three numbers, of digits of any script, that are hours, minutes and seconds, with
/// or without a half of the day before or after them. What is not a digit or a letter may part
/// them; so may the words of any locale's long format ("7h30"), or nothing ("0730"). The halves are
/// AM and PM, or A and P, the user's own marks and those of all 12-hour formats, whatever blanks
/// and dots they have ("5 p.m."); a mark for the one half in one locale and for the other in
/// another is none.
///
/// A text of any other form has no `time`. What can be told of it is told all the same, for a text
/// that is being typed, from the part `first` on: letters without a meaning count as unwritten, but
/// for A, P and those by which the user's two marks differ, and the last half chosen counts.
TimeReading readTime(const QString &text, const QLocale &locale = userLocale(),
                     TimePart::Kind first = TimePart::Hours);

} // namespace Tavrel
