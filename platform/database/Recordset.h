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

/// A named command of a data environment. Every result is that of the moment of the call, and
/// whole, as with adOpenStatic, adUseClient and MaxRecords 0.
struct Command {
    const char *CommandText; ///< a query, or the name of a table in back quotes
    CommandTypeEnum CommandType;
    LockTypeEnum LockType;
};

/// The rows that a command gives, with a current row.
///
/// A table command fixes its result at the call, by the table's highest row number, and reads or
/// counts rows only when someone asks. So its cost does not grow with the table, and rows that
/// others add later are not in the result. A view and a table without row numbers fail at the
/// call. A query is run to its end at the call, which keeps its first row and counts the others.
/// In either case no statement stays unfinished between two calls.
///
/// Every operation can fail with a failure of the database. On a closed recordset all but State
/// and Open are failure 3704; where a current row is needed and there is none they are failure
/// 3021; a column that the result lacks is failure 3265. Names of columns are compared without
/// regard to case.
class Recordset
{
public:
    explicit Recordset(Connection &connection) : m_connection(connection) {}

    std::int32_t State() const { return m_state; }

    /// Runs `command` with `parameters` and stands on the first row of the result. On a failure
    /// the recordset is closed.
    void Open(const Command &command, const std::vector<QVariant> &parameters = {});

    /// Drops the result, and with it a row or a change that was not written.
    void Close();

    /// The exact number of rows in the result.
    qlonglong RecordCount() const;

    /// Goes to the first row, from the current one on, that included, that meets `Criteria`, a
    /// condition in the words of the database; with none, there is no current row any more.
    /// A pending row or change is dropped. Only in the result of a table command, and only with
    /// SkipRecords 0 and adSearchForward: anything else is failure 3251.
    void Find(const QString &Criteria, std::int32_t SkipRecords, std::int32_t SearchDirection);

    /// Whether there is no current row. (EOF itself is a macro of the C library.)
    bool Eof();

    /// The value of a column in the current row: Null, qlonglong, double, QString or QByteArray,
    /// or what has been assigned to it.
    QVariant Fields(const QString &name);

    /// Sets a column of the current row in the row's pending change, beginning it if need be.
    /// Failure 3251 in a result that can only be read.
    void Collect(const QString &name, const QVariant &value);

    /// Makes a new empty row the current one, pending. Failure 3251 in a result that can only be
    /// read.
    void AddNew();

    /// Writes the pending row or change at once, behind which there is no current row; without
    /// any it does nothing. A change is written only if the columns in it still hold what was
    /// read, as stored; otherwise it is failure -2147217864. On any failure the pending row or
    /// change stays pending.
    void Update();

private:
    enum class Position { First, On, New, End };

    struct Row {
        qlonglong number = 0; ///< in its table; of no meaning in the result of a query
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
    void standOn(const std::optional<Row> &row);
    void insertPending();
    void updatePending();

    Connection &m_connection;
    std::int32_t m_state = adStateClosed;
    QString m_table;     ///< in back quotes; empty in the result of a query
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
