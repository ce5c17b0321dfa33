/// Numbers from texts and from columns fail in no way but those that their headers name, and agree
/// with each other.

#include "platform/text/Conversions.h"

#include "fuzz/Input.h"
#include "platform/database/ColumnValues.h"
#include "tests/support/failureOf.h"

#include <bit>

using namespace Tavrel;

namespace
{

/// The lenient number; beyond all of them when there is none.
int lenient(const QString &text)
{
    int value = INT_MAX;
    const int failure = failureOf([&] { value = lenientNumber(text); });
    require(failure == 0 || failure == Failure::Overflow, "the lenient number fails by 6 alone");
    return value;
}

void checkTexts(const QString &text, const QLocale &locale)
{
    const QString blanks = QStringLiteral(" \t\r\n");
    require(lenient(text + u'x') == lenient(text), "what follows the number does not count");
    require(lenient(QString(text).replace(QString(), blanks)) == lenient(text),
            "blanks do not count");

    int value = 0;
    const int failure = failureOf([&] { value = strictNumber(text, locale); });
    require(failure == 0 || failure == Failure::Overflow || failure == Failure::TypeMismatch,
            "the strict number fails by 6 and 13 alone");
    require(strictNumber(QString::number(value), locale) == value,
            "plain digits are a number everywhere");
}

QVariant columnValue(Input &input)
{
    switch (input.byte() % 5) {
    case 0:
        return {};
    case 1:
        return static_cast<qlonglong>(input.number());
    case 2:
        return std::bit_cast<double>(input.number());
    case 3:
        return input.text();
    default:
        return input.rest();
    }
}

void checkColumn(const QVariant &value)
{
    int number = 0;
    QVariant next;
    const int failure = failureOf([&] { number = toInt16(value); });
    const int nextFailure = failureOf([&] { next = plusOne(value); });
    require((failure == Failure::InvalidUseOfNull) == value.isNull(), "Null alone is failure 94");
    require(next.isNull() == (value.isNull() || nextFailure != 0), "Null stays Null");
    require((nextFailure == Failure::TypeMismatch) == (failure == Failure::TypeMismatch),
            "both take the same values for numbers");
    if (failure == 0 && next.typeId() == QMetaType::LongLong)
        require(next.toLongLong() == number + 1, "plus 1 is one more");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QLocale locale = input.locale();
    Input column = input;
    checkTexts(input.text(), locale);
    checkColumn(columnValue(column));
    return 0;
}
