#include "platform/database/ColumnValues.h"

#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"

#include <limits>

namespace Tavrel
{

namespace
{

bool isBytes(const QVariant &value)
{
    return value.typeId() == QMetaType::QByteArray;
}

} // namespace

std::int16_t toInt16(const QVariant &value)
{
    if (value.isNull())
        throw Failure(Failure::InvalidUseOfNull);
    if (isBytes(value))
        throw Failure(Failure::TypeMismatch);
    return toInt16(parseNumber(value.toString(), QLocale::c()));
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
        return parseNumber(text, QLocale::c()) + 1;
    if (whole == std::numeric_limits<qlonglong>::max())
        throw Failure(Failure::Overflow);
    return whole + 1;
}

} // namespace Tavrel
