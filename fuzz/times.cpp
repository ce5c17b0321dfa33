/// Times and dates in any regional format: what is read from a text is in range, the parsers agree
/// with each other, and a formatted time is read back.

#include "fuzz/Input.h"
#include "platform/text/DatesAndTimes.h"
#include "tests/support/failureOf.h"

#include <cmath>

using namespace Tavrel;

namespace
{

/// Whether the parts are in order and inside the text.
bool areInside(const QList<TimePart> &parts, const QString &text)
{
    qsizetype end = 0;
    for (const TimePart &part : parts) {
        if (part.start < end || part.length <= 0)
            return false;
        end = part.start + part.length;
    }
    return end <= text.size();
}

void checkReading(const QString &text, const QLocale &locale)
{
    DateAndTime read;
    double value = 0;
    const int failure = failureOf([&] { read = parseDateAndTime(text, locale); });
    require(failureOf([&] { value = timeText(text, locale); }) == failure, "both parsers agree");
    require(failure == 0 || failure == Failure::TypeMismatch,
            "text that is not a time is TypeMismatch");
    const QTime numbers = readTime(text, locale).time;
    require(areInside(partsOfTime(text, locale), text), "the parts are inside the text");
    if (failure != 0)
        return;
    require(read.time.isValid(), "a parsed time is valid");
    require(value - std::floor(value) < 1 && (read.date.isValid() || value >= 0),
            "a date value is its days and its time");
    require(read.date.isValid() || (numbers == read.time && value == timeOfDay(read.time)),
            "a time alone is the same to all parsers");
}

void checkWriting(const QTime &time, const QLocale &locale, const QLocale &other)
{
    const QString text = formatTimeOfDay(time, locale);
    for (const QLocale &reader : {locale, other}) {
        const DateAndTime read = parseDateAndTime(text, reader);
        require(read.time == time && !read.date.isValid(), "a time reads back in any format");
        require(readTime(text, reader).time == time, "a time shown in a field can be pasted");
    }
    const QList<TimePart> parts = partsOfTime(text, locale);
    require(!parts.isEmpty() && areInside(parts, text), "a time has its parts");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QLocale locale = input.locale();
    const int evenSeconds = 2 * input.word();
    const QTime time = QTime(0, 0).addSecs(evenSeconds + input.byte() % 2);
    checkWriting(time, locale, input.locale());
    checkReading(input.text(), locale);
    return 0;
}
