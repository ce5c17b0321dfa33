#pragma once

#include <QString>
#include <QVariant>

#include <cstdint>

namespace Tavrel
{

/// A value of a database column as a signed 16-bit number: Null is failure 94, text and bytes
/// that are no plain number are failure 13, a number that does not fit is failure 6.
std::int16_t toInt16(const QVariant &value);

/// A value of a database column as text: Null is failure 94, bytes are failure 13.
QString toText(const QVariant &value);

/// `value` plus 1: whole when `value` is a whole number or the text of one. Null stays Null; text
/// that is another plain number counts as that number; any other text and bytes are failure 13;
/// the largest whole number is failure 6.
QVariant plusOne(const QVariant &value);

} // namespace Tavrel
