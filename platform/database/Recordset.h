#pragma once

#include "platform/database/Statement.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace Tavrel
{

enum CommandTypeEnum { adCmdText = 1, adCmdTable = 2 };
enum LockTypeEnum { adLockReadOnly = 1, adLockOptimistic = 3 };
enum SearchDirectionEnum { adSearchForward = 1 };
enum ObjectStateEnum { adStateClosed = 0, adStateOpen = 1 };

/// A named command of a data environment. Every result is complete and fixed at the time of the
/// call, as with adOpenStatic, adUseClient and MaxRecords 0.
struct Command {
    const char *CommandText; ///< a query, or the name of a table in back quotes
    CommandTypeEnum CommandType;
    LockTypeEnum LockType;
};

/// The rows that a command returns, with a current row.
///
/// Open fixes the result of a table command by the table's highest row number; rows are read or
/// counted only on request. So the cost does not grow with the table, and rows that others add
/// later are not in the result. A view or a table without row numbers fails in Open with
/// SQLITE_ERROR. A query runs to its end in Open, which keeps the first row and counts them all. In
/// either case no statement stays unfinished between two calls.
///
/// Every operation can throw a failure of the database. On a closed recordset all but State, Open
/// and Close throw Failure::ClosedRecordset. Operations that need a current row throw
/// Failure::NoCurrentRow if there is none; a column missing from the result is
/// Failure::NoSuchColumn. Column names are not case-sensitive.
class Recordset
{
public:
    explicit Recordset(Connection &connection) : m_connection(connection) {}

    std::int32_t State() const { return m_state; }

    /// Runs `command` with `parameters` and makes the first row of the result current. On failure
    /// the recordset is closed.
    void Open(const Command &command, const std::vector<QVariant> &parameters = {});

    /// Drops the result and any pending row or change.
    void Close();

    /// The exact number of rows in the result.
    qlonglong RecordCount() const;

    /// Makes the first row that meets `Criteria`, an SQL condition, the current one, starting with
    /// the row that is current now; if none does, there is no current row afterwards. Drops a
    /// pending row or change. Throws Failure::NotSupported for the result of a query, for
    /// SkipRecords other than 0 and for directions other than adSearchForward.
    void Find(const QString &Criteria, std::int32_t SkipRecords, std::int32_t SearchDirection);

    /// Whether there is no current row. (EOF is a macro of the C library.)
    bool Eof();

    /// The value of a column in the current row: Null, qlonglong, double, QString or QByteArray, or
    /// the value assigned to it.
    QVariant Fields(const QString &name);

    /// Sets a column of the current row in the row's pending change, which it starts if necessary.
    /// Throws Failure::NotSupported for a read-only result.
    void Collect(const QString &name, const QVariant &value);

    /// Makes a new empty row, still pending, the current one. Throws Failure::NotSupported for a
    /// read-only result.
    void AddNew();

    /// Writes the pending row or change at once, after which there is no current row; does nothing
    /// if nothing is pending. A change is written only if its columns still hold the stored values
    /// that were read; otherwise throws Failure::RowChanged. On any failure the row or change stays
    /// pending.
    void Update();

private:
    enum class Position { First, On, New, End };

    struct Row {
        qlonglong number = 0; ///< in its table; meaningless in the result of a query
        std::vector<StoredValue> values;
    };

    using Assignment = std::pair<std::size_t, QVariant>; ///< column and value

    void openTable(const QString &table);
    void openQuery(const QString &query, const std::vector<QVariant> &parameters);
    void mustBeOpen() const;
    void mustBeUpdatable() const;
    std::size_t column(const QString &name) const;
    std::optional<Row> firstRow(const QString &condition = QLatin1StringView("1"),
                                qlonglong from = std::numeric_limits<qlonglong>::min()) const;
    void seekCurrent();
    void moveTo(const std::optional<Row> &row);
    void insertPending();
    void updatePending();

    Connection &m_connection;
    std::int32_t m_state = adStateClosed;
    QString m_table;     ///< in back quotes; empty for the result of a query
    QString m_rowNumber; ///< the name of the table's row number
    LockTypeEnum m_lockType = adLockReadOnly;
    QStringList m_columns;
    std::optional<qlonglong> m_lastNumber; ///< the highest row number; none in an empty table
    qlonglong m_queriedRows = 0;
    Position m_position = Position::End;
    Row m_current; ///< when m_position is On
    std::vector<Assignment> m_pending;
};

} // namespace Tavrel
