#include "tools/sitetool/JetValues.h"

#include "tools/sitetool/NotDone.h"

#include <QDate>
#include <QUuid>
#include <QtEndian>

#include <glib.h> // the next header would take it for C
#include <mdbtools.h>

#include <algorithm>
#include <cmath>

namespace
{

// MONEY_TEXT and GUID_TEXT have text affinity by their last part. A decimal type would turn money
// into floating point.
constexpr JetType Types[] = {
    {MDB_BOOL, 0, "BOOLEAN"},
    {MDB_BYTE, 1, "TINYINT"},
    {MDB_INT, 2, "SMALLINT"},
    {MDB_LONGINT, 4, "INTEGER"},
    {MDB_MONEY, 8, "MONEY_TEXT"},
    {MDB_FLOAT, 4, "FLOAT"},
    {MDB_DOUBLE, 8, "DOUBLE"},
    {MDB_DATETIME, 8, "DATETIME"},
    {MDB_BINARY, JetType::AnySize, "BLOB"},
    {MDB_TEXT, JetType::AnySize, "TEXT"},
    {MDB_OLE, JetType::AnySize, "BLOB"},
    {MDB_MEMO, JetType::AnySize, "TEXT"},
    {MDB_REPID, 16, "GUID_TEXT"},
};

/// `tenThousandths` as a number with four decimals.
QString moneyText(qint64 tenThousandths)
{
    constexpr quint64 Unit = 10000;
    constexpr int Decimals = 4;
    const bool isNegative = tenThousandths < 0;
    const auto bits = static_cast<quint64>(tenThousandths);
    const quint64 size = isNegative ? 0 - bits : bits;
    return QStringLiteral("%1%2.%3")
        .arg(isNegative ? QStringLiteral("-") : QString())
        .arg(size / Unit)
        .arg(size % Unit, Decimals, 10, QLatin1Char('0'));
}

/// The local time that is stored as days since 1899-12-30, to the nearest second. The fraction is
/// the time of that day and counts forward before 1899-12-30 too: -1.25 is 1899-12-29 06:00.
QString dateTimeText(double stored)
{
    constexpr double FirstDay = -657434; // 0100-01-01
    constexpr double LastDay = 2958465;  // 9999-12-31
    constexpr double SecondsPerDay = 86400;
    double day = std::trunc(stored);
    double second = std::round(std::fabs(stored - day) * SecondsPerDay);
    if (second == SecondsPerDay) {
        ++day;
        second = 0;
    }
    if (!(day >= FirstDay && day <= LastDay))
        throw NotDone{QStringLiteral("The time is outside the years 100 to 9999.")};
    return QDate(1899, 12, 30).addDays(static_cast<qint64>(day)).toString(Qt::ISODate) + u' ' +
           QTime(0, 0).addSecs(static_cast<int>(second)).toString(Qt::ISODate);
}

double number(double stored)
{
    if (!std::isfinite(stored))
        throw NotDone{QStringLiteral("Its bytes are no number.")};
    return stored;
}

QString guidText(const char *bytes)
{
    QUuid guid;
    guid.data1 = qFromLittleEndian<quint32>(bytes);
    guid.data2 = qFromLittleEndian<quint16>(bytes + 4);
    guid.data3 = qFromLittleEndian<quint16>(bytes + 6);
    std::copy_n(bytes + 8, sizeof guid.data4, guid.data4);
    return guid.toString().toUpper();
}

} // namespace

const JetType *jetType(int number)
{
    const auto *found = std::find_if(std::begin(Types), std::end(Types),
                                     [&](const JetType &type) { return type.number == number; });
    return found == std::end(Types) ? nullptr : found;
}

Value jetValue(const JetType &type, const JetText &text, const std::optional<QByteArray> &field)
{
    if (type.number == MDB_BOOL)
        return qint64{field.has_value()};
    if (!field)
        return {};
    if (type.size != JetType::AnySize && field->size() != type.size)
        throw NotDone{QStringLiteral("The value has the wrong size.")};

    const char *bytes = field->data();
    switch (type.number) {
    case MDB_BYTE:
        return qint64{static_cast<quint8>(*bytes)};
    case MDB_INT:
        return qint64{qFromLittleEndian<qint16>(bytes)};
    case MDB_LONGINT:
        return qint64{qFromLittleEndian<qint32>(bytes)};
    case MDB_MONEY:
        return moneyText(qFromLittleEndian<qint64>(bytes));
    case MDB_FLOAT:
        return number(qFromLittleEndian<float>(bytes));
    case MDB_DOUBLE:
        return number(qFromLittleEndian<double>(bytes));
    case MDB_DATETIME:
        return dateTimeText(qFromLittleEndian<double>(bytes));
    case MDB_TEXT:
    case MDB_MEMO:
        return text.decode(*field);
    case MDB_REPID:
        return guidText(bytes);
    default:
        return *field;
    }
}
