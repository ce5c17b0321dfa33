#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace Tavrel
{

/// A value as SQLite stores it: Null, an integer, a real number, text or bytes.
using Value = std::variant<std::monostate, qint64, double, QString, QByteArray>;

/// A new database in memory, of at most 2 GiB. Every failure is a NotDone with SQLite's message.
class MemoryDatabase
{
public:
    MemoryDatabase();

    /// The contents of a database file. Valid until the next run() or insert().
    QByteArray bytes() const;

    void run(const QByteArray &sql);

    /// Prepares the statement that insert() runs.
    void prepareInsert(const QByteArray &statement);
    void insert(const std::vector<Value> &row);

private:
    struct Close {
        void operator()(sqlite3 *database) const;
        void operator()(sqlite3_stmt *statement) const;
    };

    void check(int result) const;

    std::unique_ptr<sqlite3, Close> m_database;
    std::unique_ptr<sqlite3_stmt, Close> m_insert;
};

} // namespace Tavrel
