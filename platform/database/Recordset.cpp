#include "platform/database/Recordset.h"

#include "platform/basics/Failure.h"

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

QStringList columnNames(const Statement &statement)
{
    QStringList names;
    for (int i = 0; i < statement.columnCount(); ++i)
        names += statement.columnName(i);
    return names;
}

/// The values of the statement's current row, from column `first` on.
std::vector<StoredValue> rowValues(const Statement &statement, int first)
{
    std::vector<StoredValue> values;
    for (int i = first; i < statement.columnCount(); ++i)
        values.push_back(statement.value(i));
    return values;
}

/// The name of a table's row number: the first of three that no column uses. A view and a table
/// WITHOUT ROWID have none.
QString rowNumberName(sqlite3 *database, const QString &table, const QStringList &columns)
{
    const QByteArray bareName = table.mid(1, table.size() - 2).toUtf8();
    for (const char *name : {"rowid", "_rowid_", "oid"}) {
        if (!columns.contains(QLatin1String(name), Qt::CaseInsensitive) &&
            sqlite3_table_column_metadata(database, nullptr, bareName.constData(), name, nullptr,
                                          nullptr, nullptr, nullptr, nullptr) == SQLITE_OK)
            return QString::fromLatin1(name);
    }
    throw Failure(SQLITE_ERROR, u"%1 cannot be written: it is a view, or a table without "
                                "accessible row numbers."_s.arg(table));
}

} // namespace

void Recordset::Open(const Command &command, const std::vector<QVariant> &parameters)
{
    Close();
    const QString text = QString::fromLatin1(command.CommandText);
    if (command.CommandType == adCmdTable)
        openTable(text);
    else
        openQuery(text, parameters);
    m_lockType = command.LockType;
    m_state = adStateOpen;
}

void Recordset::openTable(const QString &table)
{
    // The statement sees changes that others made to the table's columns only after a step.
    Statement head(m_connection, u"SELECT * FROM %1 LIMIT 0"_s.arg(table));
    head.step();
    m_columns = columnNames(head);
    m_rowNumber = rowNumberName(m_connection.database(), table, m_columns);
    m_table = table;

    Statement highest(m_connection, u"SELECT max(%1) FROM %2"_s.arg(m_rowNumber, table));
    highest.step();
    if (const QVariant number = highest.value(0).toVariant(); !number.isNull())
        m_lastNumber = number.toLongLong();
    m_position = Position::First;
}

void Recordset::openQuery(const QString &query, const std::vector<QVariant> &parameters)
{
    Statement statement(m_connection, query, parameters);
    for (; statement.step(); ++m_queriedRows) {
        if (m_queriedRows == 0)
            moveTo(Row{0, rowValues(statement, 0)});
    }
    m_columns = columnNames(statement);
}

void Recordset::Close()
{
    m_state = adStateClosed;
    m_table.clear();
    m_columns.clear();
    m_lastNumber.reset();
    m_queriedRows = 0;
    moveTo({});
    m_pending.clear();
}

qlonglong Recordset::RecordCount() const
{
    mustBeOpen();
    if (m_table.isEmpty())
        return m_queriedRows;
    if (!m_lastNumber)
        return 0;
    Statement count(m_connection,
                    u"SELECT count(*) FROM %1 WHERE %2 <= ?1"_s.arg(m_table, m_rowNumber),
                    {*m_lastNumber});
    count.step();
    return count.value(0).toVariant().toLongLong();
}

void Recordset::Find(const QString &Criteria, std::int32_t SkipRecords,
                     std::int32_t SearchDirection)
{
    mustBeOpen();
    if (m_table.isEmpty() || SkipRecords != 0 || SearchDirection != adSearchForward)
        throw Failure(Failure::NotSupported);

    std::optional<Row> found;
    if (m_position == Position::First)
        found = firstRow(Criteria);
    else if (m_position == Position::On)
        found = firstRow(Criteria, m_current.number);
    else
        throw Failure(Failure::NoCurrentRow);

    m_pending.clear();
    moveTo(found);
}

bool Recordset::Eof()
{
    mustBeOpen();
    seekCurrent();
    return m_position == Position::End;
}

QVariant Recordset::Fields(const QString &name)
{
    mustBeOpen();
    seekCurrent();
    if (m_position == Position::End)
        throw Failure(Failure::NoCurrentRow);

    const std::size_t index = column(name);
    const auto assigned = std::ranges::find(m_pending, index, &Assignment::first);
    if (assigned != m_pending.end())
        return assigned->second;
    return m_position == Position::New ? QVariant() : m_current.values[index].toVariant();
}

void Recordset::Collect(const QString &name, const QVariant &value)
{
    mustBeUpdatable();
    seekCurrent();
    if (m_position == Position::End)
        throw Failure(Failure::NoCurrentRow);

    const std::size_t index = column(name);
    std::erase_if(m_pending, [&](const Assignment &earlier) { return earlier.first == index; });
    m_pending.emplace_back(index, value);
}

void Recordset::AddNew()
{
    mustBeUpdatable();
    m_pending.clear();
    m_position = Position::New;
}

void Recordset::Update()
{
    mustBeUpdatable();
    if (m_position == Position::New)
        insertPending();
    else if (!m_pending.empty())
        updatePending();
    else
        return;
    m_pending.clear();
    moveTo({});
}

void Recordset::mustBeOpen() const
{
    if (m_state != adStateOpen)
        throw Failure(Failure::ClosedRecordset);
}

void Recordset::mustBeUpdatable() const
{
    mustBeOpen();
    if (m_lockType == adLockReadOnly || m_table.isEmpty())
        throw Failure(Failure::NotSupported);
}

std::size_t Recordset::column(const QString &name) const
{
    const auto found = std::ranges::find_if(m_columns, [&](const QString &column) {
        return column.compare(name, Qt::CaseInsensitive) == 0;
    });
    if (found == m_columns.end())
        throw Failure(Failure::NoSuchColumn, name);
    return static_cast<std::size_t>(found - m_columns.begin());
}

/// The first row of the table's result, from row number `from` on, that meets `condition`.
std::optional<Recordset::Row> Recordset::firstRow(const QString &condition, qlonglong from) const
{
    if (!m_lastNumber)
        return {};
    QStringList names; // not "*": the table may have other columns since Open
    for (const QString &column : m_columns)
        names += quotedName(column);
    Statement query(m_connection,
                    u"SELECT %1, %2 FROM %3 WHERE %1 BETWEEN ?1 AND ?2 AND (%4) "
                    "ORDER BY %1 LIMIT 1"_s.arg(m_rowNumber, names.join(u','), m_table, condition),
                    {from, *m_lastNumber});
    if (!query.step())
        return {};
    return Row{query.value(0).toVariant().toLongLong(), rowValues(query, 1)};
}

/// Reads a table's first row, which is current after Open, when it is first needed.
void Recordset::seekCurrent()
{
    if (m_position == Position::First)
        moveTo(firstRow());
}

void Recordset::moveTo(const std::optional<Row> &row)
{
    m_position = row ? Position::On : Position::End;
    m_current = row.value_or(Row());
}

void Recordset::insertPending()
{
    QStringList names;
    QStringList places;
    std::vector<QVariant> parameters;
    for (const auto &[index, value] : m_pending) {
        names += quotedName(m_columns[static_cast<qsizetype>(index)]);
        places += u"?"_s;
        parameters.push_back(value);
    }
    const QString values = names.isEmpty()
                               ? u"DEFAULT VALUES"_s
                               : u"(%1) VALUES (%2)"_s.arg(names.join(u','), places.join(u','));
    Statement insertion(m_connection, u"INSERT INTO %1 %2"_s.arg(m_table, values), parameters);

    // A trigger in the file may drop the row silently. A punch must not be lost that way.
    if (insertion.execute() != 1)
        throw Failure(SQLITE_CONSTRAINT, u"The database did not accept the row."_s);
}

void Recordset::updatePending()
{
    QStringList assignments;
    QStringList conditions{m_rowNumber + u" = ?"_s};
    std::vector<QVariant> parameters;
    for (const auto &[index, value] : m_pending) {
        const QString name = quotedName(m_columns[static_cast<qsizetype>(index)]);
        assignments += name + u" = ?"_s;
        conditions += name + u" IS ? COLLATE BINARY"_s;
        parameters.push_back(value);
    }
    parameters.emplace_back(m_current.number);

    Statement change(m_connection,
                     u"UPDATE %1 SET %2 WHERE %3"_s.arg(m_table, assignments.join(u", "),
                                                        conditions.join(u" AND ")),
                     parameters);
    int place = static_cast<int>(parameters.size());
    for (const auto &[index, value] : m_pending)
        change.bind(++place, m_current.values[index]);
    if (change.execute() != 1)
        throw Failure(Failure::RowChanged);
}

} // namespace Tavrel
