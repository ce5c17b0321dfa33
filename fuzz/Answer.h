#pragma once

#include <QByteArray>

#include <sqlite3.h>

#include <optional>

/// The first value that a query on a database file returns, bypassing the code under test; empty if
/// SQLite cannot run the query.
inline std::optional<QByteArray> answer(const QByteArray &file, const QByteArray &query)
{
    sqlite3 *database = nullptr;
    sqlite3_stmt *statement = nullptr;
    std::optional<QByteArray> text;
    sqlite3_open(file.constData(), &database);
    sqlite3_prepare_v2(database, query.constData(), -1, &statement, nullptr);
    if (sqlite3_step(statement) == SQLITE_ROW)
        text = reinterpret_cast<const char *>(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return text;
}
