#pragma once

#include <QLocale>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// The user's regional format, as the environment gives it.
QLocale userLocale();

/// `text`, all of it, as a number in the given regional format. Failure 13 when it is none, also
/// when it is empty or stands for "infinite"; failure 6 when it is too large for a double.
double parseNumber(const QString &text, const QLocale &locale);

/// `number` rounded to the nearest whole number, a tie going to the even neighbour.
/// Failure 6 outside -32768 to 32767.
std::int16_t toInt16(double number);

/// The number that `text` begins with, rounded as by toInt16; blanks are skipped wherever they
/// stand, the decimal separator is the period whatever the user's regional format says, and an
/// exponent is taken. Text that does not begin with a number gives 0. Failure 6 when the number
/// does not fit 16 bits; never any other.
std::int16_t lenientNumber(const QString &text);

/// `text`, all of it, as a number in the given regional format, rounded as by toInt16.
/// Failure 13 when it is no number, also when it is empty; failure 6 when it does not fit.
std::int16_t strictNumber(const QString &text, const QLocale &locale = userLocale());

} // namespace Tavrel
