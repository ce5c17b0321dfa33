#include "platform/database/StoredValue.h"

#include <QByteArray>
#include <QString>

namespace Tavrel
{

QVariant StoredValue::toVariant() const
{
    sqlite3_value *value = m_value.get();
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qlonglong>(sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return sqlite3_value_double(value);
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(value));
        return QString::fromUtf8(text, sqlite3_value_bytes(value));
    }
    case SQLITE_BLOB: {
        const auto *bytes = static_cast<const char *>(sqlite3_value_blob(value));
        return QByteArray(bytes, sqlite3_value_bytes(value));
    }
    default:
        return {};
    }
}

} // namespace Tavrel
