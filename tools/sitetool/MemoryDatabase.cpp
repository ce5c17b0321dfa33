#include "tools/sitetool/MemoryDatabase.h"

#include "tools/console/NotDone.h"

#include <sqlite3.h>

#include <cstdint>
#include <limits>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

struct Bind {
    sqlite3_stmt *statement;
    int at;

    int operator()(std::monostate) const { return sqlite3_bind_null(statement, at); }
    int operator()(qint64 number) const { return sqlite3_bind_int64(statement, at, number); }
    int operator()(double number) const { return sqlite3_bind_double(statement, at, number); }
    int operator()(const QString &text) const
    {
        const QByteArray utf8 = text.toUtf8();
        return sqlite3_bind_text64(statement, at, utf8.constData(),
                                   static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT,
                                   SQLITE_UTF8);
    }
    int operator()(const QByteArray &bytes) const
    {
        return sqlite3_bind_blob64(statement, at, bytes.constData(),
                                   static_cast<sqlite3_uint64>(bytes.size()), SQLITE_TRANSIENT);
    }
};

} // namespace

void MemoryDatabase::Close::operator()(sqlite3 *database) const
{
    sqlite3_close(database);
}

void MemoryDatabase::Close::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

MemoryDatabase::MemoryDatabase()
{
    sqlite3 *opened = nullptr;
    const int result =
        sqlite3_open_v2("new", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, "memdb");
    m_database.reset(opened);
    check(result);
    sqlite3_int64 most = std::numeric_limits<std::int32_t>::max();
    check(sqlite3_file_control(opened, "main", SQLITE_FCNTL_SIZE_LIMIT, &most));
    run("PRAGMA journal_mode = OFF");
}

QByteArray MemoryDatabase::bytes() const
{
    sqlite3_int64 size = 0;
    const auto *const begin =
        sqlite3_serialize(m_database.get(), "main", &size, SQLITE_SERIALIZE_NOCOPY);
    return QByteArray::fromRawData(reinterpret_cast<const char *>(begin), size);
}

void MemoryDatabase::run(const QByteArray &sql)
{
    check(sqlite3_exec(m_database.get(), sql.constData(), nullptr, nullptr, nullptr));
}

void MemoryDatabase::prepareInsert(const QByteArray &statement)
{
    sqlite3_stmt *prepared = nullptr;
    check(sqlite3_prepare_v2(m_database.get(), statement.constData(), -1, &prepared, nullptr));
    m_insert.reset(prepared);
}

void MemoryDatabase::insert(const std::vector<Value> &row)
{
    for (int at = 0; const Value &value : row)
        check(std::visit(Bind{m_insert.get(), ++at}, value));
    sqlite3_step(m_insert.get());
    check(sqlite3_reset(m_insert.get()));
}

void MemoryDatabase::check(int result) const
{
    if (result != SQLITE_OK)
        throw NotDone{u"Cannot write the new database: %1."_s.arg(
            QString::fromUtf8(sqlite3_errmsg(m_database.get())))};
}

} // namespace Tavrel
