#pragma once

#include <QLocale>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The user's regional format, from the environment.
QLocale userLocale();

/// Converts all of `text` to a number in the given regional format. Throws Failure::TypeMismatch if
/// it is not a number, is empty or means "infinite"; Failure::Overflow if it is too large for a
/// double.
double parseNumber(const QString &text, const QLocale &locale);

/// Rounds `number` to the nearest whole number, ties to even. Throws Failure::Overflow outside
/// -32768 to 32767.
std::int16_t toInt16(double number);

/// The number at the beginning of `text`, rounded as by toInt16. Blanks are skipped anywhere, the
/// decimal separator is the period in every regional format, and an exponent is accepted. Text that
/// does not begin with a number gives 0. Throws Failure::Overflow if the number does not fit in 16
/// bits, and no other failure.
std::int16_t lenientNumber(const QString &text);

/// Converts all of `text`, but for blanks around it, to a number in the given regional format,
/// rounded as by toInt16. Throws Failure::TypeMismatch if it is not a number or is empty,
/// Failure::Overflow if it does not fit.
std::int16_t strictNumber(const QString &text, const QLocale &locale = userLocale());

} // namespace Tavrel
