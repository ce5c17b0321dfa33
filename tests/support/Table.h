#pragma once

#include <QTest>

/// The data of a test function: adds the columns, then one row for each call.
template <typename... Values> class Table
{
public:
    template <typename... Names> explicit Table(Names... columns)
    {
        (QTest::addColumn<Values>(columns), ...);
    }

    void operator()(const char *name, const Values &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }

    /// Names the row after its values.
    void operator()(const Values &...values) const
    {
        const QStringList name{QVariant(values).toString()...};
        (*this)(qPrintable(name.join(u' ')), values...);
    }
};
