#include "platform/RegionalFormat.h"

#include "platform/Failure.h"

#include <QStringList>

namespace
{

constexpr double SecondsPerDay = 86400.0;
constexpr qint64 DayZero = 2415019; // 30 December 1899, as a Julian day

const QString PlainTime = QStringLiteral("HH:mm:ss");

QStringList timePatterns(const QLocale &locale)
{
    return {longTimePattern(locale),      locale.timeFormat(QLocale::ShortFormat),
            QStringLiteral("H:mm:ss"),    QStringLiteral("H:mm"),
            QStringLiteral("h:mm:ss AP"), QStringLiteral("h:mm AP")};
}

QStringList datePatterns(const QLocale &locale)
{
    return {locale.dateFormat(QLocale::ShortFormat), locale.dateFormat(QLocale::LongFormat),
            QStringLiteral("yyyy-MM-dd")};
}

QTime parseTime(const QString &text, const QLocale &locale)
{
    for (const QString &pattern : timePatterns(locale)) {
        for (const QLocale &words : {locale, QLocale::c()}) {
            if (const QTime time = words.toTime(text, pattern); time.isValid())
                return time;
        }
    }
    return {};
}

QDate parseDate(const QString &text, const QLocale &locale)
{
    for (const QString &pattern : datePatterns(locale)) {
        if (const QDate date = locale.toDate(text, pattern); date.isValid())
            return date;
    }
    return {};
}

} // namespace

double timeOfDay(const QTime &time)
{
    return QTime(0, 0).secsTo(time) / SecondsPerDay;
}

DateAndTime parseDateAndTime(const QString &text, const QLocale &locale)
{
    const QString trimmed = text.trimmed();
    if (const QTime time = parseTime(trimmed, locale); time.isValid())
        return {QDate(), time};
    if (const QDate date = parseDate(trimmed, locale); date.isValid())
        return {date, QTime(0, 0)};

    // Dates and times may hold blanks of their own, so every blank may be the one between them.
    for (qsizetype blank = trimmed.indexOf(u' '); blank > 0;
         blank = trimmed.indexOf(u' ', blank + 1)) {
        const QDate date = parseDate(trimmed.left(blank), locale);
        const QTime time = parseTime(trimmed.mid(blank + 1), locale);
        if (date.isValid() && time.isValid())
            return {date, time};
    }
    throw Failure(Failure::TypeMismatch);
}

double timeText(const QString &text, const QLocale &locale)
{
    const auto [date, time] = parseDateAndTime(text, locale);
    const double days = date.isValid() ? static_cast<double>(date.toJulianDay() - DayZero) : 0.0;
    return days + timeOfDay(time);
}

QString formatHHNNSS(const QDateTime &dateTime)
{
    return dateTime.time().toString(u"HHmmss");
}

QString formatLongDate(const QDateTime &dateTime, const QLocale &locale)
{
    return locale.toString(dateTime.date(), QLocale::LongFormat);
}

QString formatDateTime(const QDateTime &dateTime, const QLocale &locale)
{
    return locale.toString(dateTime.date(), QLocale::ShortFormat) + u' ' +
           locale.toString(dateTime.time(), longTimePattern(locale));
}

QString longTimePattern(const QLocale &locale)
{
    const QString pattern = locale.timeFormat(QLocale::LongFormat);
    QString withoutZone;
    bool quoted = false;
    for (const QChar letter : pattern) {
        if (letter == u'\'')
            quoted = !quoted;
        if (quoted || letter != u't')
            withoutZone += letter;
    }
    return withoutZone.remove(QStringLiteral("()")).simplified();
}

QString formatTimeOfDay(const QTime &time, const QLocale &locale)
{
    const QString regional = locale.toString(time, longTimePattern(locale));
    return parseTime(regional.trimmed(), locale) == time ? regional : time.toString(PlainTime);
}
