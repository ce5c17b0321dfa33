#include "platform/text/DatesAndTimes.h"

#include "platform/basics/Failure.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr double SecondsPerDay = 86400.0;
constexpr qint64 DayZero = 2415019; // 30 December 1899, as a Julian day

constexpr QStringView PlainTime = u"HH:mm:ss";

/// The user's long time format as a Qt pattern, without the time zone; HH:mm:ss if the format has
/// pattern letters that Qt does not know.
QString longTimePattern(const QLocale &locale)
{
    static const QString KnownLetters = u"hHmsaApP"_s;
    const QString pattern = locale.timeFormat(QLocale::LongFormat);
    QString withoutZone;
    bool quoted = false;
    for (const QChar letter : pattern) {
        if (letter == u'\'')
            quoted = !quoted;
        if (!quoted && letter == u't')
            continue;
        // A few formats have letters that Qt would print literally.
        if (!quoted && letter.unicode() < 0x80 && letter.isLetter() &&
            !KnownLetters.contains(letter))
            return PlainTime.toString();
        withoutZone += letter;
    }
    return withoutZone.remove(u"()"_s).remove(u"[]"_s).simplified();
}

QStringList datePatterns(const QLocale &locale)
{
    return {locale.dateFormat(QLocale::ShortFormat), locale.dateFormat(QLocale::LongFormat),
            u"yyyy-MM-dd"_s};
}

/// Invalid if there is no such time; the hours of a half are 1 to 12.
QTime timeOfNumbers(int hour, int minute, int second, DayHalf half)
{
    if (half == DayHalf::Whole)
        return QTime(hour, minute, second);
    if (hour < 1 || hour > 12)
        return {};
    return QTime(hour % 12 + (half == DayHalf::Morning ? 0 : 12), minute, second);
}

/// The number of hours in a day, minutes in an hour or seconds in a minute.
int countOf(int part)
{
    return part == TimePart::Hours ? 24 : 60;
}

const QRegularExpression &digits()
{
    static const QRegularExpression expression(u"\\d+"_s,
                                               QRegularExpression::UseUnicodePropertiesOption);
    return expression;
}

/// Only the letters of a text, for comparison: "p. m." becomes "pm".
QString lettersOf(const QString &text)
{
    static const QRegularExpression others(u"[\\p{Z}\\p{P}\\p{S}\\p{C}]"_s);
    return QString(text).remove(others).toCaseFolded();
}

/// The letters before, between and after the numbers of a time in the user's long format.
QStringList wordsAround(const QTime &time, const QLocale &locale)
{
    QStringList words = locale.toString(time, longTimePattern(locale)).split(digits());
    std::ranges::transform(words, words.begin(), lettersOf);
    return words;
}

/// The meaning of a word in a time: a half of the day, or Whole if it only separates two numbers.
/// Empty for any other word.
using Meaning = std::optional<DayHalf>;

using Words = QHash<QString, Meaning>;

/// The words that the long formats of all locales put around the numbers.
Words wordsOfAllLocales()
{
    // Chinese has more parts of the day than the two that QLocale knows.
    Words words{{u"凌晨"_s, DayHalf::Morning},
                {u"清晨"_s, DayHalf::Morning},
                {u"早上"_s, DayHalf::Morning},
                {u"中午"_s, DayHalf::Afternoon},
                {u"晚上"_s, DayHalf::Afternoon}};
    // A word with two meanings is ambiguous, and gets none.
    const auto add = [&words](const QString &word, DayHalf half) {
        const auto known = words.constFind(word);
        words[word] = known == words.cend() || *known == half ? Meaning(half) : std::nullopt;
    };
    for (const QLocale &locale :
         QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
        const QStringList morning = wordsAround(QTime(1, 0), locale);
        const QStringList afternoon = wordsAround(QTime(13, 0), locale);
        if (morning != afternoon) {
            add(lettersOf(locale.amText()), DayHalf::Morning);
            add(lettersOf(locale.pmText()), DayHalf::Afternoon);
        }
        for (qsizetype i = 0; i < morning.size(); ++i) {
            const bool shared = morning[i] == afternoon[i];
            add(morning[i], shared ? DayHalf::Whole : DayHalf::Morning);
            add(afternoon[i], shared ? DayHalf::Whole : DayHalf::Afternoon);
        }
    }
    return words;
}

/// The meaning of `letters` in a time, after `place` numbers. The user's own words come first, even
/// half typed, then AM and PM, then the words of other locales.
Meaning meaningOf(const QString &letters, int place, const QLocale &locale)
{
    const QString word = wordsAround(QTime(1, 0), locale).value(place);
    if (word.startsWith(letters) && word == wordsAround(QTime(13, 0), locale).value(place))
        return DayHalf::Whole;
    if (letters == lettersOf(locale.amText()))
        return DayHalf::Morning;
    if (letters == lettersOf(locale.pmText()))
        return DayHalf::Afternoon;
    if (letters == u"a" || letters == u"am")
        return DayHalf::Morning;
    if (letters == u"p" || letters == u"pm")
        return DayHalf::Afternoon;
    static const Words others = wordsOfAllLocales();
    return others.value(letters);
}

/// The half of the day chosen by the last letter that decides it: A, P, or a letter found in only
/// one of the user's two marks.
DayHalf halfByLetter(const QString &letters, const QLocale &locale)
{
    const QString morning = lettersOf(locale.amText());
    const QString afternoon = lettersOf(locale.pmText());
    DayHalf half = DayHalf::Whole;
    for (const QChar letter : letters) {
        const bool inMorning = morning.contains(letter);
        if (inMorning != afternoon.contains(letter))
            half = inMorning ? DayHalf::Morning : DayHalf::Afternoon;
        else if (letter == u'a' || letter == u'p')
            half = letter == u'a' ? DayHalf::Morning : DayHalf::Afternoon;
    }
    return half;
}

/// Splits a run of digits into numbers, the first of them the given part of the time; `marked` if a
/// half of the day is given as well. Two digits make one number where possible.
QList<TimeReading::Number> numbersOf(const QList<uint> &run, int part, bool marked)
{
    QList<TimeReading::Number> numbers;
    for (qsizetype i = 0; i < run.size(); ++part) {
        const int tens = QChar::digitValue(run[i]) * 10;
        const int number = i + 1 < run.size() ? tens + QChar::digitValue(run[i + 1]) : tens;
        // Three or five digits begin with a one-digit hour if two digits would not be an hour:
        // "730", "240", and "130 PM" but not "130".
        const bool oddHour = part == TimePart::Hours && (run.size() == 3 || run.size() == 5) &&
                             (marked || number >= countOf(part));
        const bool single = i + 1 == run.size() || tens >= countOf(part) || oddHour;
        numbers.append(single ? TimeReading::Number{tens / 10, 1} : TimeReading::Number{number, 2});
        i += single ? 1 : 2;
    }
    return numbers;
}

QDate parseDate(const QString &text, const QLocale &locale)
{
    for (const QString &pattern : datePatterns(locale)) {
        if (const QDate date = locale.toDate(text, pattern); date.isValid())
            return date;
    }
    return {};
}

/// Parses a time without a date; digits alone are not a time.
QTime parseTime(const QString &text, const QLocale &locale)
{
    static const QRegularExpression number(u"^\\d+$"_s,
                                           QRegularExpression::UseUnicodePropertiesOption);
    return number.match(text).hasMatch() ? QTime() : readTime(text, locale).time;
}

} // namespace

double timeOfDay(const QTime &time)
{
    return QTime(0, 0).secsTo(time) / SecondsPerDay;
}

DateAndTime parseDateAndTime(const QString &text, const QLocale &locale)
{
    const QString trimmed = text.trimmed();
    // The same text may be a time in one locale and a date in another, as 10.12.05 is. Only "/" and
    // "-" make it a date first.
    const bool maybeDate = trimmed.contains(u'/') || trimmed.contains(u'-');
    const QTime whole = parseTime(trimmed, locale);
    if (whole.isValid() && !maybeDate)
        return {QDate(), whole};
    if (const QDate date = parseDate(trimmed, locale); date.isValid())
        return {date, QTime(0, 0)};

    // Dates and times may contain blanks themselves, so any blank may be the one between them.
    for (qsizetype blank = trimmed.indexOf(u' '); blank > 0;
         blank = trimmed.indexOf(u' ', blank + 1)) {
        const QDate date = parseDate(trimmed.left(blank), locale);
        const QTime time = parseTime(trimmed.mid(blank + 1), locale);
        if (date.isValid() && time.isValid())
            return {date, time};
    }
    if (whole.isValid())
        return {QDate(), whole};
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
    return parseTime(regional, locale) == time ? regional : time.toString(PlainTime);
}

QList<TimePart> partsOfTime(const QString &text, const QLocale &locale)
{
    QList<TimePart> parts;
    auto found = digits().globalMatch(text);
    for (const auto kind : {TimePart::Hours, TimePart::Minutes, TimePart::Seconds}) {
        if (!found.hasNext())
            return {};
        const auto number = found.next();
        parts.append({kind, number.capturedStart(), number.capturedLength()});
    }
    for (const QString &mark : {locale.amText(), locale.pmText()}) {
        const qsizetype start = text.indexOf(mark, 0, Qt::CaseInsensitive);
        if (start >= 0 && !mark.isEmpty()) {
            parts.append({TimePart::HalfOfDay, start, mark.size()});
            break;
        }
    }
    std::ranges::sort(parts, {}, &TimePart::start);
    return parts;
}

TimeReading readTime(const QString &text, const QLocale &locale, TimePart::Kind first)
{
    static const QRegularExpression separators(u"[\\s\\p{Z}\\p{P}\\p{S}]"_s);
    static const QRegularExpression opening(u"^[\\s\\p{Z}]*[\\p{P}\\p{S}]"_s);

    TimeReading read;
    auto found = digits().globalMatch(text);
    bool isTime = found.hasNext() && !text.contains(opening);
    QList<QList<uint>> runs; // of digits that no separator divides
    bool parted = false;
    qsizetype end = 0; // of the last run
    for (int place = first; end >= 0; ++place) {
        const auto run = found.hasNext() ? found.next() : QRegularExpressionMatch();
        const qsizetype start = run.hasMatch() ? run.capturedStart() : text.size();
        const QString gap = text.mid(end, start - end);
        const QString letters = lettersOf(gap);
        parted = gap.contains(separators);
        if (!letters.isEmpty()) {
            const Meaning meaning = meaningOf(letters, std::max(place, first + 1), locale);
            const DayHalf half = meaning.value_or(halfByLetter(letters, locale));
            const bool isMark = half != DayHalf::Whole;
            const bool outside = end == 0 || !run.hasMatch();
            isTime = isTime && meaning && (!isMark || (outside && read.half == DayHalf::Whole));
            parted = parted || meaning || isMark;
            if (isMark)
                read.half = half;
        }
        if (run.hasMatch()) {
            if (parted || runs.isEmpty())
                runs.emplace_back();
            runs.last() += run.captured().toUcs4();
        }
        end = run.capturedEnd();
    }

    for (const QList<uint> &run : runs) {
        const qsizetype firstOfRun = read.numbers.size();
        const int part = first + static_cast<int>(firstOfRun);
        read.numbers += numbersOf(run, part, read.half != DayHalf::Whole);
        for (qsizetype i = firstOfRun; i < read.numbers.size(); ++i) {
            const auto [value, digitCount] = read.numbers[i];
            const int count = countOf(static_cast<int>(first + i));
            isTime = isTime && value < count && (i == firstOfRun || digitCount == 2);
            read.ended = parted || digitCount == 2 || value * 10 >= count;
        }
    }
    if (isTime && read.numbers.size() <= 3)
        read.time = timeOfNumbers(read.numbers[0].value, read.numbers.value(1).value,
                                  read.numbers.value(2).value, read.half);
    return read;
}

} // namespace Tavrel
