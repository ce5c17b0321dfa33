#include "platform/text/RegionalFormat.h"

#include "platform/basics/Failure.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

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

enum class DayHalf { Whole, Morning, Afternoon };

/// Invalid when there is no such time; the hours of a half go from 1 to 12.
QTime timeOfNumbers(int hour, int minute, int second, DayHalf half)
{
    if (half == DayHalf::Whole)
        return QTime(hour, minute, second);
    if (hour < 1 || hour > 12)
        return {};
    return QTime(hour % 12 + (half == DayHalf::Morning ? 0 : 12), minute, second);
}

/// The value of digits of any script.
int numberOf(const QString &digits)
{
    int number = 0;
    for (const QChar digit : digits)
        number = number * 10 + digit.digitValue();
    return number;
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
        m_position = 0;
        m_numbers = {};
        m_half = DayHalf::Whole;
        m_parts.clear();
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
        if (m_position < m_text.size())
            return {};
        return timeOfNumbers(m_numbers[TimePart::Hours], m_numbers[TimePart::Minutes],
                             m_numbers[TimePart::Seconds], m_half);
    }

    /// Where the parts of the time stand that has been read.
    const QList<TimePart> &parts() const { return m_parts; }

private:
    bool readPart(const QString &part, bool quoted)
    {
        static const QString KindLetters = QStringLiteral("hmsa"); // in the order of the kinds
        const qsizetype letter = quoted ? -1 : KindLetters.indexOf(part[0].toLower());
        if (letter < 0)
            return readWord(part);
        const auto kind = static_cast<TimePart::Kind>(letter);
        const qsizetype start = m_position;
        if (!(kind == TimePart::HalfOfDay
                  ? readMeridiem()
                  : readNumber(kind == TimePart::Hours ? 1 : part.size(), m_numbers[kind])))
            return false;
        m_parts.append({kind, start, m_position - start});
        return true;
    }

    /// One or two digits, of any script.
    bool readNumber(qsizetype fewestDigits, int &number)
    {
        const qsizetype start = m_position;
        while (m_position < start + 2 && m_position < m_text.size() &&
               m_text[m_position].digitValue() >= 0)
            ++m_position;
        number = numberOf(m_text.mid(start, m_position - start));
        return m_position - start >= fewestDigits;
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

    const QString &m_text;
    const QLocale &m_locale;
    qsizetype m_position = 0;
    std::array<int, 3> m_numbers{}; ///< hours, minutes and seconds
    DayHalf m_half = DayHalf::Whole;
    QList<TimePart> m_parts;
};

QTime parseTime(const QString &text, const QLocale &locale, QList<TimePart> *parts = nullptr)
{
    TimeReader reader(text, locale);
    for (const QString &pattern : timePatterns(locale)) {
        if (const QTime time = reader.read(pattern); time.isValid()) {
            if (parts)
                *parts = reader.parts();
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

QString formatTimeOfDay(const QTime &time, const QLocale &locale)
{
    const QString regional = locale.toString(time, longTimePattern(locale));
    return parseTime(regional.trimmed(), locale) == time ? regional : time.toString(PlainTime);
}

QList<TimePart> partsOfTime(const QString &text, const QLocale &locale)
{
    QList<TimePart> parts;
    parseTime(text, locale, &parts);
    return parts;
}

QTime readNumbersAsTime(const QString &text, const QLocale &locale)
{
    if (const QTime time = parseTime(text.trimmed(), locale); time.isValid())
        return time;

    // Anything but AM or PM may part two numbers; with nothing between them, the later one has two
    // digits.
    constexpr auto Options =
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption;
    static const QRegularExpression gaps(QStringLiteral(R"([^\p{L}\p{N}]+)"));
    static const QRegularExpression form(
        QStringLiteral(R"(^(\d{1,2})(?:NEXT(?:NEXT)?)? ?(?:([ap]) ?m?)?$)")
            .replace(QStringLiteral("NEXT"),
                     QStringLiteral(R"((?|(?:(?![ap] ?m)\P{N})+(\d{1,2})|(\d\d)))")),
        Options);
    const auto match = form.match(QString(text).replace(gaps, QStringLiteral(" ")).trimmed());
    if (!match.hasMatch())
        return {};
    const QString mark = match.captured(4).toUpper();
    return timeOfNumbers(numberOf(match.captured(1)), numberOf(match.captured(2)),
                         numberOf(match.captured(3)),
                         mark.isEmpty() ? DayHalf::Whole
                         : mark == u"A" ? DayHalf::Morning
                                        : DayHalf::Afternoon);
}
