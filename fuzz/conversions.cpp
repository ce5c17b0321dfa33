/// Conversions of texts and columns to numbers fail only as their headers say, and agree with each
/// other.

#include "platform/text/Conversions.h"

#include "fuzz/Input.h"
#include "platform/database/ColumnValues.h"
#include "tests/support/failureOf.h"

#include <bit>

using namespace Tavrel;

namespace
{

/// The lenient number; INT_MAX if it fails.
int lenient(const QString &text)
{
    int value = INT_MAX;
    const int failure = failureOf([&] { value = lenientNumber(text); });
    require(failure == 0 || failure == Failure::Overflow,
            "the lenient number throws only Overflow");
    return value;
}

void checkTexts(const QString &text, const QLocale &locale)
{
    const QString blanks = QStringLiteral(" \t\r\n");
    require(lenient(text + u'x') == lenient(text), "text after the number is ignored");
    require(lenient(QString(text).replace(QString(), blanks)) == lenient(text),
            "blanks are ignored");

    int value = 0;
    const int failure = failureOf([&] { value = strictNumber(text, locale); });
    require(failure == 0 || failure == Failure::Overflow || failure == Failure::TypeMismatch,
            "the strict number throws only Overflow and TypeMismatch");
    require(strictNumber(QString::number(value), locale) == value,
            "plain digits are a number in every locale");
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
    require((failure == Failure::InvalidUseOfNull) == value.isNull(),
            "only Null is InvalidUseOfNull");
    require(next.isNull() == (value.isNull() || nextFailure != 0), "Null stays Null");
    require((nextFailure == Failure::TypeMismatch) == (failure == Failure::TypeMismatch),
            "both accept the same values as numbers");
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
