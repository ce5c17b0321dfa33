#pragma once

#include <QString>
#include <QVariant>

#include <cstdint>

namespace Tavrel
{

/// A value of a database column as a signed 16-bit number. Throws Failure::InvalidUseOfNull for
/// Null, Failure::TypeMismatch for bytes and for text that is not a plain number, Failure::Overflow
/// for a number that does not fit.
std::int16_t toInt16(const QVariant &value);

/// A value of a database column as text. Throws Failure::InvalidUseOfNull for Null,
/// Failure::TypeMismatch for bytes.
QString toText(const QVariant &value);

/// `value` plus 1: whole if `value` is a whole number or the text of one. Null stays Null; text
/// that is another plain number counts as that number. Throws Failure::TypeMismatch for any other
/// text and for bytes, Failure::Overflow for the largest whole number and for text too large for a
/// double.
QVariant plusOne(const QVariant &value);

} // namespace Tavrel
