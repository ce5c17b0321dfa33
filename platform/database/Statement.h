#pragma once

#include "platform/database/Connection.h"
#include "platform/database/StoredValue.h"

#include <QString>
#include <QVariant>

#include <sqlite3.h>

#include <memory>
#include <vector>

namespace Tavrel
{

/// `name` as an identifier of SQL. Back quotes never turn into a text, as double quotes do around a
/// name that no column has.
QString quotedName(const QString &name);

/// One statement, from its preparation to its end. Every operation can fail with a failure of the
/// connection. A statement must not outlive the use it is made for: one that is not finished locks
/// the file for everybody else.
class Statement
{
public:
    /// Prepares `sql`, with `parameters` bound in order. Values are Null, qlonglong, double,
    /// QString, QByteArray, the smaller whole numbers, and QDateTime, which is stored as local
    /// time in the form YYYY-MM-DD HH:MM:SS.
    Statement(Connection &connection, const QString &sql,
              const std::vector<QVariant> &parameters = {});

    /// Binds a value to the parameter at `index`, counted from 1, just as it is stored.
    void bind(int index, const StoredValue &value);

    /// Steps to the next row; false when there is none.
    bool step();

    int columnCount() const;
    QString columnName(int column) const;

    StoredValue value(int column) const;

    /// Runs the statement to its end and returns how many rows it changed itself.
    int execute();

private:
    struct Finalize {
        void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
    };

    void bind(int index, const QVariant &value);
    void check(int result) const;

    sqlite3 *m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

} // namespace Tavrel
