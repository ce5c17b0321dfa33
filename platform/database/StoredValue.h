#pragma once

#include <QVariant>

#include <sqlite3.h>

#include <memory>

namespace Tavrel
{

/// A value exactly as the database stores it, including text that is not valid UTF-8. It may
/// outlive the statement that read it.
class StoredValue
{
public:
    explicit StoredValue(sqlite3_value *value)
        : m_value(sqlite3_value_dup(value), sqlite3_value_free)
    {
    }

    /// Null, qlonglong, double, QString or QByteArray.
    QVariant toVariant() const;

    sqlite3_value *get() const { return m_value.get(); }

private:
    std::shared_ptr<sqlite3_value> m_value;
};

} // namespace Tavrel
