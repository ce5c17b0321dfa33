#pragma once

#include <QLocale>
#include <QString>
#include <QVariant>

#include <cstdint>

/// The user's regional format, as the environment gives it.
QLocale userLocale();

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

/// A value of a database column as a signed 16-bit number: Null is failure 94, text and bytes
/// that are no plain number are failure 13, a number that does not fit is failure 6.
std::int16_t toInt16(const QVariant &value);

/// A value of a database column as text: Null is failure 94, bytes are failure 13.
QString toText(const QVariant &value);

/// `value` plus 1: whole when `value` is a whole number or the text of one. Null stays Null; text
/// that is another plain number counts as that number; any other text and bytes are failure 13;
/// the largest whole number is failure 6.
QVariant plusOne(const QVariant &value);
