#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// A value as SQLite stores it: Null, a whole number, a number, a text or bytes.
using Value = std::variant<std::monostate, qint64, double, QString, QByteArray>;

/// A database being written that nobody else sees yet: no journal, nothing synced, all in one
/// transaction. It is not safe against a crash; whoever publishes the file sees to that. Every
/// failure is a NotDone with SQLite's words.
class NewDatabase
{
public:
    /// Opens the empty file at `path`.
    explicit NewDatabase(const QByteArray &path);

    void run(const QByteArray &sql);

    /// Makes `statement` the one that insert() runs.
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
