#include "platform/text/RegionalFormat.h"

#include "platform/basics/Failure.h"

#include <QStringList>

namespace
{

constexpr double SecondsPerDay = 86400.0;
constexpr qint64 DayZero = 2415019; // 30 December 1899, as a Julian day

const QString PlainTime = QStringLiteral("HH:mm:ss");

/// The pattern of the user's long time, in the toolkit's letters, without the zone; HH:mm:ss for
/// a format with other letters.
QString longTimePattern(const QLocale &locale)
{
    static const QString KnownLetters = QStringLiteral("hHmsaApP");
    const QString pattern = locale.timeFormat(QLocale::LongFormat);
    QString withoutZone;
    bool quoted = false;
    for (const QChar letter : pattern) {
        if (letter == u'\'')
            quoted = !quoted;
        if (!quoted && letter == u't')
            continue;
        // A few formats have letters that the toolkit would show as they are.
        if (!quoted && letter.unicode() < 0x80 && letter.isLetter() &&
            !KnownLetters.contains(letter))
            return PlainTime;
        withoutZone += letter;
    }
    return withoutZone.remove(QStringLiteral("()")).remove(QStringLiteral("[]")).simplified();
}

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

/// Reads a time along a pattern in the toolkit's letters. (The toolkit's own parser, in 6.4, reads
/// past the text's end where a mark for AM or PM stands before it.)
class TimeReader
{
public:
    TimeReader(const QString &text, const QLocale &locale) : m_text(text), m_locale(locale) {}

    /// The time that the whole text stands for; invalid when it does not follow `pattern`.
    QTime read(const QString &pattern)
    {
        m_position = m_hour = m_minute = m_second = 0;
        m_half = DayHalf::Whole;
        bool quoted = false;
        for (qsizetype i = 0; i < pattern.size();) {
            qsizetype length = 1;
            if (pattern[i] == u'\'') {
                quoted = !quoted;
            } else {
                while (i + length < pattern.size() && pattern[i + length] == pattern[i])
                    ++length;
                if (!quoted && pattern.mid(i, 2).toUpper() == u"AP")
                    length = 2;
                if (!readPart(pattern.mid(i, length), quoted))
                    return {};
            }
            i += length;
        }
        return m_position == m_text.size() ? time() : QTime();
    }

private:
    enum class DayHalf { Whole, Morning, Afternoon };

    bool readPart(const QString &part, bool quoted)
    {
        if (!quoted && part.toUpper() == u"AP")
            return readMeridiem();
        switch (quoted ? u' ' : part[0].toLower().unicode()) {
        case u'h':
            return readNumber(1, m_hour);
        case u'm':
            return readNumber(part.size(), m_minute);
        case u's':
            return readNumber(part.size(), m_second);
        default:
            return readWord(part);
        }
    }

    /// One or two digits, of any script.
    bool readNumber(qsizetype fewestDigits, int &number)
    {
        qsizetype digits = 0;
        for (number = 0; digits < 2 && m_position < m_text.size(); ++digits, ++m_position) {
            const int digit = m_text[m_position].digitValue();
            if (digit < 0)
                break;
            number = number * 10 + digit;
        }
        return digits >= fewestDigits;
    }

    bool readWord(const QString &word)
    {
        if (m_text.mid(m_position, word.size()).compare(word, Qt::CaseInsensitive) != 0)
            return false;
        m_position += word.size();
        return true;
    }

    bool readMeridiem()
    {
        if (readWord(m_locale.amText()) || readWord(QStringLiteral("AM")))
            m_half = DayHalf::Morning;
        else if (readWord(m_locale.pmText()) || readWord(QStringLiteral("PM")))
            m_half = DayHalf::Afternoon;
        return m_half != DayHalf::Whole;
    }

    QTime time() const
    {
        if (m_half == DayHalf::Whole)
            return QTime(m_hour, m_minute, m_second);
        if (m_hour < 1 || m_hour > 12)
            return {};
        return QTime(m_hour % 12 + (m_half == DayHalf::Morning ? 0 : 12), m_minute, m_second);
    }

    const QString &m_text;
    const QLocale &m_locale;
    qsizetype m_position = 0;
    int m_hour = 0;
    int m_minute = 0;
    int m_second = 0;
    DayHalf m_half = DayHalf::Whole;
};

QTime parseTime(const QString &text, const QLocale &locale)
{
    TimeReader reader(text, locale);
    for (const QString &pattern : timePatterns(locale)) {
        if (const QTime time = reader.read(pattern); time.isValid())
            return time;
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

QString formatTimeOfDay(const QTime &time, const QLocale &locale)
{
    const QString regional = locale.toString(time, longTimePattern(locale));
    return parseTime(regional.trimmed(), locale) == time ? regional : time.toString(PlainTime);
}
