#pragma once

#include "platform/database/Connection.h"
#include "platform/database/StoredValue.h"

#include <QByteArrayView>
#include <QString>
#include <QVariant>

#include <sqlite3.h>

#include <memory>
#include <vector>

namespace Tavrel
{

/// `name` as an SQL identifier. In double quotes, a name that is not a column would become a
/// string; in back quotes it never does.
QString quotedName(const QString &name);

/// A prepared statement. Every operation can throw a failure of the connection. Do not keep a
/// statement longer than needed: an unfinished one locks the file for other programs.
class Statement
{
public:
    /// Prepares `sql` and binds `parameters` in order. Values are Null, qlonglong and smaller
    /// integers, double, QString, QByteArray, and QDateTime, which is stored as local time in the
    /// form YYYY-MM-DD HH:MM:SS.
    Statement(Connection &connection, const QString &sql,
              const std::vector<QVariant> &parameters = {});

    /// The same on an open database, without the limits of a connection.
    Statement(sqlite3 *database, const QString &sql, const std::vector<QVariant> &parameters = {});

    /// Binds a value, exactly as stored, to the parameter at `index`, counted from 1.
    void bind(int index, const StoredValue &value);

    /// Steps to the next row; false if there is none.
    bool step();

    int columnCount() const;
    QString columnName(int column) const;

    StoredValue value(int column) const;

    /// The same as a whole number or as text in UTF-8, without copying it, for scans of many rows:
    /// 0 and empty for Null. The text is valid until the next step.
    qint64 number(int column) const;
    QByteArrayView text(int column) const;

    /// Whether a value is stored as bytes. To be called before text().
    bool isBytes(int column) const;

    /// Runs the statement to its end and returns the number of rows that it changed itself, not
    /// counting those changed by triggers.
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
