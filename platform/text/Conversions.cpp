#include "platform/text/Conversions.h"

#include "platform/basics/Failure.h"

#include <QRegularExpression>

#include <cfenv>
#include <cmath>
#include <limits>

namespace Tavrel
{

using namespace Qt::StringLiterals;

QLocale userLocale()
{
    return QLocale::system();
}

double parseNumber(const QString &text, const QLocale &locale)
{
    bool isNumber = false;
    const double number = locale.toDouble(text, &isNumber);
    if (!isNumber && std::isinf(number))
        throw Failure(Failure::Overflow);
    if (!isNumber || !std::isfinite(number))
        throw Failure(Failure::TypeMismatch);
    return number;
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
    static const QRegularExpression blanks(u"[ \\t\\r\\n]"_s);
    static const QRegularExpression leadingNumber(
        u"^[+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+)(?:[eE][+-]?[0-9]+)?"_s);

    // QRegularExpression finds nothing in text with half a surrogate pair. Numbers need only
    // Latin-1.
    const QString plain = QString::fromLatin1(text.toLatin1()).remove(blanks);
    const QString number = leadingNumber.match(plain).captured();
    if (number.isEmpty())
        return 0;

    // A number too small for a double becomes 0, without a failure.
    const double value = QLocale::c().toDouble(number);
    return toInt16(value);
}

std::int16_t strictNumber(const QString &text, const QLocale &locale)
{
    return toInt16(parseNumber(text.trimmed(), locale));
}

} // namespace Tavrel
