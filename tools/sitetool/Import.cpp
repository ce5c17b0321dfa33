#include "tools/sitetool/Import.h"

#include "tools/console/Console.h"
#include "tools/sitetool/ChildProcess.h"
#include "tools/sitetool/Draft.h"
#include "tools/sitetool/JetFile.h"
#include "tools/sitetool/NeededColumns.h"
#include "tools/sitetool/NewDatabase.h"
#include "tools/sitetool/NotDone.h"

#include <QFile>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace
{

constexpr const char *KindNames[] = {"whole numbers", "dates and times", "texts",
                                     "texts or whole numbers"};

bool isOf(Kind kind, int type)
{
    const bool isWhole = type == MDB_BYTE || type == MDB_INT || type == MDB_LONGINT;
    const bool isText = type == MDB_TEXT || type == MDB_MEMO;
    switch (kind) {
    case Kind::Whole:
        return isWhole;
    case Kind::Moment:
        return type == MDB_DATETIME;
    case Kind::Text:
        return isText;
    default:
        return isText || isWhole;
    }
}

bool isNamed(const QString &name, const char *wanted)
{
    return name.compare(QLatin1String(wanted), Qt::CaseInsensitive) == 0;
}

void requireWhatTheClockNeeds(const std::vector<JetTable> &tables)
{
    for (const NeededColumn &needed : NeededColumns) {
        const QLatin1String tableName(needed.table);
        const QLatin1String columnName(needed.column);
        const auto table = std::find_if(tables.begin(), tables.end(), [&](const JetTable &each) {
            return isNamed(each.name, needed.table);
        });
        if (table == tables.end())
            throw NotDone{
                QStringLiteral("It has no table %1, which the clock needs.").arg(tableName)};
        const auto column =
            std::find_if(table->columns.begin(), table->columns.end(),
                         [&](const JetColumn &each) { return isNamed(each.name, needed.column); });
        if (column == table->columns.end())
            throw NotDone{QStringLiteral("Its table %1 has no column %2, which the clock needs.")
                              .arg(tableName, columnName)};
        if (!isOf(needed.kind, column->typeNumber))
            throw NotDone{QStringLiteral("Column %2 of its table %1 has to hold %3.")
                              .arg(tableName, columnName,
                                   QLatin1String(KindNames[static_cast<int>(needed.kind)]))};
    }
}

/// Badge numbers become texts even where they were numbers, for the clock writes and looks up
/// texts: 00123 must not become 123.
const char *storedType(const JetTable &table, const JetColumn &column)
{
    const bool isBadge =
        std::any_of(std::begin(NeededColumns), std::end(NeededColumns), [&](const auto &needed) {
            return needed.kind == Kind::Badge && isNamed(table.name, needed.table) &&
                   isNamed(column.name, needed.column);
        });
    return isBadge ? "TEXT" : column.type->stored;
}

QString quoted(QString name)
{
    return u'"' + name.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

/// Prints a line of the report: names to the left, numbers to the right.
void print(const QString &name, const QString &before, const QString &after, qsizetype nameWidth)
{
    const QString line = name.leftJustified(nameWidth) + before.rightJustified(22) +
                         after.rightJustified(18) + u'\n';
    std::cout << line.toStdString();
}

/// Shows the parent that the work goes on.
void progress()
{
    std::cout << ChildProcess::Progress << std::flush;
}

std::size_t takeTable(JetFile &old, const JetTable &table, NewDatabase &database)
{
    QStringList columns;
    for (const JetColumn &column : table.columns) {
        if (!column.type)
            throw NotDone{
                QStringLiteral("Table %1, column %2: values of its type, number %3, cannot be "
                               "carried over.")
                    .arg(table.name, column.name)
                    .arg(column.typeNumber)};
        columns += quoted(column.name) + u' ' + QLatin1String(storedType(table, column));
    }
    database.run(QStringLiteral("CREATE TABLE %1 (%2)")
                     .arg(quoted(table.name), columns.join(u", "))
                     .toUtf8());
    const QStringList places(columns.size(), QStringLiteral("?"));
    database.prepareInsert(QStringLiteral("INSERT INTO %1 VALUES (%2)")
                               .arg(quoted(table.name), places.join(u", "))
                               .toUtf8());

    std::size_t rows = 0;
    std::vector<Value> values(table.columns.size());
    const auto take = [&](const JetRow &row) {
        ++rows;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const JetColumn &column = table.columns[i];
            const bool isLong = column.typeNumber == MDB_MEMO || column.typeNumber == MDB_OLE;
            try {
                values[i] = jetValue(*column.type, old.text(),
                                     isLong && row[i] ? old.longValue(*row[i]) : row[i]);
            } catch (const NotDone &notDone) {
                throw NotDone{QStringLiteral("Table %1, column %2, row %3: %4")
                                  .arg(table.name, column.name)
                                  .arg(rows)
                                  .arg(notDone.why)};
            }
        }
        database.insert(values);
    };
    old.readRows(table, take);
    return rows;
}

} // namespace

void takeOver(const QByteArray &oldFile, NewDatabase &database)
{
    JetFile old(oldFile, progress);
    const std::vector<JetTable> tables = old.tables();
    requireWhatTheClockNeeds(tables);

    qsizetype nameWidth = 0;
    for (const JetTable &table : tables)
        nameWidth = std::max(nameWidth, table.name.size());
    print(QStringLiteral("Table"), QStringLiteral("rows in the old file"),
          QStringLiteral("rows taken over"), nameWidth);

    database.run("BEGIN");
    for (const JetTable &table : tables) {
        const std::size_t rows = takeTable(old, table, database);
        print(table.name, QString::number(table.rowCount), QString::number(rows), nameWidth);
        if (rows != table.rowCount)
            throw NotDone{QStringLiteral("The file is damaged: table %1 should have %2 rows, and "
                                         "%3 were found.")
                              .arg(table.name)
                              .arg(table.rowCount)
                              .arg(rows)};
    }
    for (const QString &name : old.linkedTables())
        print(name, QStringLiteral("in another file"), QStringLiteral("none"), nameWidth);
    // What the clock looks for at a swipe. No old table has a point in its name.
    database.run("CREATE INDEX `RawData.DownloadResult` ON RawData (DownloadResult);"
                 "CREATE INDEX `Employee.PersonalID` ON Employee (PersonalID);"
                 "COMMIT");
}

int importOld(const QStringList &arguments)
{
    const QString &oldFile = arguments[0];
    Draft draft(databaseNamed(arguments.value(1)));
    const ChildProcess::Result result = ChildProcess::run([&] {
        NewDatabase database;
        takeOver(QFile::encodeName(oldFile), database);
        draft.write(database.bytes());
    });
    std::cout << result.output.constData() << std::flush;
    if (!result.complaint.isEmpty())
        throw NotDone{QStringLiteral("%1 is not imported. %2").arg(oldFile, result.complaint)};
    draft.publish();
    Console::say(QStringLiteral("Made %1.").arg(draft.target()));
    return 0;
}
