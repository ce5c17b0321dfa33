#include "platform/Recordset.h"

#include "platform/Failure.h"

#include <algorithm>

namespace
{

/// A name as an identifier of the database. Back quotes never turn into a text, as double quotes
/// do around a name that is no column.
QString quoted(const QString &name)
{
    return u'`' + QString(name).replace(u'`', QStringLiteral("``")) + u'`';
}

QStringList columnNames(const Statement &statement)
{
    QStringList names;
    for (int i = 0; i < statement.columnCount(); ++i)
        names += statement.columnName(i);
    return names;
}

/// The values of the row that the statement stands on, from column `first` on.
std::vector<QVariant> rowValues(const Statement &statement, int first)
{
    std::vector<QVariant> values;
    for (int i = first; i < statement.columnCount(); ++i)
        values.push_back(statement.value(i));
    return values;
}

} // namespace

void Recordset::Open(const Command &command, const std::vector<QVariant> &parameters)
{
    Close();
    const QString text = QString::fromLatin1(command.CommandText);
    if (command.CommandType == adCmdTable) {
        Statement highest(m_connection, QStringLiteral("SELECT max(rowid) FROM ") + text);
        highest.step();
        if (const QVariant number = highest.value(0); !number.isNull())
            m_lastNumber = number.toLongLong();
        // Only a statement that has been stepped has seen what others changed in the table's
        // columns. This one is prepared behind it, and need not be stepped.
        m_columns = columnNames(Statement(m_connection, QStringLiteral("SELECT * FROM ") + text));
        m_table = text;
    } else {
        Statement query(m_connection, text, parameters);
        while (query.step())
            m_queried.push_back({0, rowValues(query, 0)});
        m_columns = columnNames(query);
    }
    m_lockType = command.LockType;
    m_position = Position::First;
    m_state = adStateOpen;
}

void Recordset::Close()
{
    m_state = adStateClosed;
    m_table.clear();
    m_columns.clear();
    m_lastNumber.reset();
    m_queried.clear();
    m_position = Position::End;
    m_current = {};
    m_pending.clear();
}

qlonglong Recordset::RecordCount() const
{
    mustBeOpen();
    if (m_table.isEmpty())
        return static_cast<qlonglong>(m_queried.size());
    if (!m_lastNumber)
        return 0;
    Statement count(m_connection,
                    QStringLiteral("SELECT count(*) FROM %1 WHERE rowid <= ?1").arg(m_table),
                    {*m_lastNumber});
    count.step();
    return count.value(0).toLongLong();
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
    m_position = found ? Position::On : Position::End;
    m_current = found.value_or(Row());
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
    return m_position == Position::New ? QVariant() : m_current.values[index];
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
        throw Failure(Failure::NoSuchColumn);
    return static_cast<std::size_t>(found - m_columns.begin());
}

/// The first row of the table's result, from row number `from` on, that meets `condition`.
std::optional<Recordset::Row> Recordset::firstRow(const QString &condition, qlonglong from) const
{
    if (!m_lastNumber)
        return {};
    QStringList names; // not "*": the table may have got other columns since the call
    for (const QString &column : m_columns)
        names += quoted(column);
    Statement query(m_connection,
                    QStringLiteral("SELECT rowid, %1 FROM %2 WHERE rowid BETWEEN ?1 AND ?2 "
                                   "AND (%3) ORDER BY rowid LIMIT 1")
                        .arg(names.join(u','), m_table, condition),
                    {from, *m_lastNumber});
    if (!query.step())
        return {};
    return Row{query.value(0).toLongLong(), rowValues(query, 1)};
}

/// Reads the first row, where the recordset stands after the call, once someone asks for it.
void Recordset::seekCurrent()
{
    if (m_position != Position::First)
        return;
    std::optional<Row> first;
    if (!m_table.isEmpty())
        first = firstRow();
    else if (!m_queried.empty())
        first = m_queried.front();
    m_position = first ? Position::On : Position::End;
    m_current = first.value_or(Row());
}

void Recordset::insertPending()
{
    QStringList names;
    QStringList places;
    std::vector<QVariant> parameters;
    for (const auto &[index, value] : m_pending) {
        names += quoted(m_columns[static_cast<qsizetype>(index)]);
        places += QStringLiteral("?");
        parameters.push_back(value);
    }
    const QString values =
        names.isEmpty()
            ? QStringLiteral("DEFAULT VALUES")
            : QStringLiteral("(%1) VALUES (%2)").arg(names.join(u','), places.join(u','));
    Statement insertion(m_connection, QStringLiteral("INSERT INTO %1 %2").arg(m_table, values),
                        parameters);

    // The file may refuse a row without a word, by a trigger. A punch is not lost silently.
    if (insertion.execute() != 1)
        throw Failure(SQLITE_CONSTRAINT, QStringLiteral("The database did not take the row."));

    m_pending.clear();
    m_position = Position::End;
}

void Recordset::updatePending()
{
    QStringList assignments;
    QStringList conditions{QStringLiteral("rowid = ?")};
    std::vector<QVariant> parameters;
    std::vector<QVariant> readValues{m_current.number};
    for (const auto &[index, value] : m_pending) {
        const QString name = quoted(m_columns[static_cast<qsizetype>(index)]);
        assignments += name + QStringLiteral(" = ?");
        parameters.push_back(value);
        conditions += name + QStringLiteral(" IS ? COLLATE BINARY");
        readValues.push_back(m_current.values[index]);
    }
    parameters.insert(parameters.end(), readValues.begin(), readValues.end());

    Statement change(m_connection,
                     QStringLiteral("UPDATE %1 SET %2 WHERE %3")
                         .arg(m_table, assignments.join(u", "), conditions.join(u" AND ")),
                     parameters);
    if (change.execute() != 1)
        throw Failure(Failure::RowChanged);
    for (const auto &[index, value] : m_pending)
        m_current.values[index] = value;
    m_pending.clear();
}
