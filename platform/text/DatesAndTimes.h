#pragma once

#include "platform/text/Conversions.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

namespace Tavrel
{

/// A date value is a floating-point number of days: its whole part counts the days since 30
/// December 1899, its fraction is the time of day. A time without a date has the whole part 0.
double timeOfDay(const QTime &time);

/// A date, a time of day, or both.
struct DateAndTime {
    QDate date; ///< invalid if there is only a time
    QTime time; ///< 00:00:00 if there is only a date
};

/// Parses `text` as a date, a time or both. A time is what readTime accepts, except digits alone; a
/// date is in the user's short or long format, or in ISO format. Text that could be either is a
/// time, unless it contains "/" or "-". Throws Failure::TypeMismatch if it is neither, or empty.
DateAndTime parseDateAndTime(const QString &text, const QLocale &locale = userLocale());

/// The same as a date value, for comparison.
double timeText(const QString &text, const QLocale &locale = userLocale());

/// Six digits: hours from 00 to 23, minutes, seconds.
QString formatHHNNSS(const QDateTime &dateTime);

/// The date alone, in the user's long format.
QString formatLongDate(const QDateTime &dateTime, const QLocale &locale = userLocale());

/// The user's short date, a blank and the long time without a zone.
QString formatDateTime(const QDateTime &dateTime, const QLocale &locale = userLocale());

/// A time of day in the user's long format, or as HH:mm:ss if that format does not read back as the
/// same time. parseDateAndTime reads the result as the same time in every locale.
QString formatTimeOfDay(const QTime &time, const QLocale &locale = userLocale());

/// A part of a time's text.
struct TimePart {
    enum Kind { Hours, Minutes, Seconds, HalfOfDay };
    Kind kind;
    qsizetype start;
    qsizetype length;
};

/// The parts of a text returned by formatTimeOfDay, or of a time as HH:mm:ss, in text order.
/// Without a half of the day among them, the hours are 0 to 23.
QList<TimePart> partsOfTime(const QString &text, const QLocale &locale = userLocale());

enum class DayHalf { Whole, Morning, Afternoon };

/// What readTime finds in a text, which may be incomplete.
struct TimeReading {
    struct Number {
        int value; ///< 0 to 99, so it may be too large
        int digits;
    };
    QList<Number> numbers;         ///< for the part asked for and those after it
    DayHalf half = DayHalf::Whole; ///< Whole if the text gives none
    bool ended = false;            ///< whether one more digit would start a new number
    QTime time;                    ///< invalid unless the text is a time
};

/// Reads hours, minutes and seconds: one to three numbers, in digits of any script, with or without
/// a half of the day before or after them. They may be separated by anything but digits and
/// letters, by the words of any locale's long format ("7h30"), or by nothing ("0730"). The marks
/// for the half of the day are AM, PM, A, P, the user's own, and those of every locale with a
/// 12-hour format, with any blanks and dots ("5 p.m."). A mark that means AM in one locale and PM
/// in another is rejected.
///
/// Otherwise `time` is invalid. The other members are filled in anyway, for text that is still
/// being typed, starting at the part `first`: letters are ignored, except that A, P and those that
/// occur in only one of the user's two marks count as that mark; the last mark wins.
TimeReading readTime(const QString &text, const QLocale &locale = userLocale(),
                     TimePart::Kind first = TimePart::Hours);

} // namespace Tavrel
