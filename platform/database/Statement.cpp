#include "platform/database/Statement.h"

#include <QByteArray>
#include <QDateTime>

namespace Tavrel
{

using namespace Qt::StringLiterals;

QString quotedName(const QString &name)
{
    return u'`' + QString(name).replace(u'`', u"``"_s) + u'`';
}

Statement::Statement(Connection &connection, const QString &sql,
                     const std::vector<QVariant> &parameters)
    : Statement(connection.database(), sql, parameters)
{
}

Statement::Statement(sqlite3 *database, const QString &sql, const std::vector<QVariant> &parameters)
    : m_database(database)
{
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt *statement = nullptr;
    check(sqlite3_prepare_v2(m_database, text.constData(), static_cast<int>(text.size()),
                             &statement, nullptr));
    m_statement.reset(statement);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        bind(static_cast<int>(i) + 1, parameters[i]);
}

void Statement::bind(int index, const StoredValue &value)
{
    check(sqlite3_bind_value(m_statement.get(), index, value.get()));
}

bool Statement::step()
{
    const int result = sqlite3_step(m_statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        Connection::fail(m_database);
    return result == SQLITE_ROW;
}

int Statement::columnCount() const
{
    return sqlite3_column_count(m_statement.get());
}

QString Statement::columnName(int column) const
{
    return QString::fromUtf8(sqlite3_column_name(m_statement.get(), column));
}

StoredValue Statement::value(int column) const
{
    return StoredValue(sqlite3_column_value(m_statement.get(), column));
}

qint64 Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

QByteArrayView Statement::text(int column) const
{
    const unsigned char *text = sqlite3_column_text(m_statement.get(), column);
    return {text, sqlite3_column_bytes(m_statement.get(), column)};
}

bool Statement::isBytes(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_BLOB;
}

int Statement::execute()
{
    while (step()) {
    }
    return sqlite3_changes(m_database);
}

void Statement::bind(int index, const QVariant &value)
{
    sqlite3_stmt *statement = m_statement.get();
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        check(sqlite3_bind_null(statement, index));
        break;
    case QMetaType::Double:
        check(sqlite3_bind_double(statement, index, value.toDouble()));
        break;
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        check(sqlite3_bind_blob(statement, index, bytes.constData(), static_cast<int>(bytes.size()),
                                SQLITE_TRANSIENT));
        break;
    }
    case QMetaType::QString:
    case QMetaType::QDateTime: {
        const QByteArray text = (value.typeId() == QMetaType::QDateTime
                                     ? value.toDateTime().toString(u"yyyy-MM-dd HH:mm:ss")
                                     : value.toString())
                                    .toUtf8();
        check(sqlite3_bind_text(statement, index, text.constData(), static_cast<int>(text.size()),
                                SQLITE_TRANSIENT));
        break;
    }
    default:
        check(sqlite3_bind_int64(statement, index, value.toLongLong()));
    }
}

void Statement::check(int result) const
{
    if (result != SQLITE_OK)
        Connection::fail(m_database);
}

} // namespace Tavrel
