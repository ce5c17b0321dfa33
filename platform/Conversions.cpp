#include "platform/Conversions.h"

#include "platform/Failure.h"

#include <QRegularExpression>

#include <cfenv>
#include <cmath>
#include <limits>

namespace
{

/// `text` as a number in the locale's format. What is too large for a double is an overflow;
/// words that stand for "infinite" or "no number" are no numbers here.
double parseNumber(const QLocale &locale, const QString &text)
{
    bool isNumber = false;
    const double number = locale.toDouble(text, &isNumber);
    if (!isNumber && std::isinf(number))
        throw Failure(Failure::Overflow);
    if (!isNumber || !std::isfinite(number))
        throw Failure(Failure::TypeMismatch);
    return number;
}

bool isBytes(const QVariant &value)
{
    return value.typeId() == QMetaType::QByteArray;
}

} // namespace

QLocale userLocale()
{
    return QLocale::system();
}

std::int16_t toInt16(double number)
{
    using Limits = std::numeric_limits<std::int16_t>;
    const double rounded = std::nearbyint(number); // the default rounding mode is half to even
    if (!(rounded >= Limits::min() && rounded <= Limits::max()))
        throw Failure(Failure::Overflow);
    return static_cast<std::int16_t>(rounded);
}

std::int16_t lenientNumber(const QString &text)
{
    static const QRegularExpression blanks(QStringLiteral("[ \\t\\r\\n]"));
    static const QRegularExpression leadingNumber(
        QStringLiteral("^[+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+)(?:[eE][+-]?[0-9]+)?"));

    const QString number = leadingNumber.match(QString(text).remove(blanks)).captured();
    if (number.isEmpty())
        return 0;

    // A number too small for a double converts as 0 without being a failure.
    const double value = QLocale::c().toDouble(number);
    return toInt16(value);
}

std::int16_t strictNumber(const QString &text, const QLocale &locale)
{
    return toInt16(parseNumber(locale, text.trimmed()));
}

std::int16_t toInt16(const QVariant &value)
{
    if (value.isNull())
        throw Failure(Failure::InvalidUseOfNull);
    if (isBytes(value))
        throw Failure(Failure::TypeMismatch);
    return toInt16(parseNumber(QLocale::c(), value.toString()));
}

QString toText(const QVariant &value)
{
    if (value.isNull())
        throw Failure(Failure::InvalidUseOfNull);
    if (isBytes(value))
        throw Failure(Failure::TypeMismatch);
    return value.toString();
}

QVariant plusOne(const QVariant &value)
{
    if (value.isNull())
        return value;
    if (isBytes(value))
        throw Failure(Failure::TypeMismatch);

    const QString text = value.toString();
    bool isWhole = false;
    const qlonglong whole = QLocale::c().toLongLong(text, &isWhole);
    if (value.typeId() == QMetaType::Double || !isWhole)
        return parseNumber(QLocale::c(), text) + 1;
    if (whole == std::numeric_limits<qlonglong>::max())
        throw Failure(Failure::Overflow);
    return whole + 1;
}
