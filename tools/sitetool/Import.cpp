#include "tools/sitetool/Import.h"

#include "platform/database/Statement.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/NamelessFile.h"
#include "tools/records/NeededColumns.h"
#include "tools/sitetool/MemoryDatabase.h"
#include "tools/sitetool/OldDatabase.h"

#include <QDate>
#include <QTime>

#include <algorithm>
#include <map>
#include <optional>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The column types of mdb-schema that are accepted for a kind.
struct KindTypes {
    QStringList types;
    const char *description;
};
const KindTypes &typesOf(Kind kind)
{
    static const KindTypes All[] = {
        {{QStringLiteral("INTEGER")}, "whole numbers"},
        {{u"DateTime"_s}, "dates and times"},
        {{u"varchar"_s, u"TEXT"_s}, "texts"},
        {{u"varchar"_s, u"TEXT"_s, QStringLiteral("INTEGER")}, "texts or whole numbers"}};
    return All[static_cast<int>(kind)];
}

/// Returns the entry for a column that the clock uses, otherwise null.
const NeededColumn *neededAs(const OldTable &table, const OldColumn &column)
{
    const auto isNamed = [](const QString &name, const char *wanted) {
        return name.compare(QLatin1String(wanted), Qt::CaseInsensitive) == 0;
    };
    const auto *found = std::ranges::find_if(NeededColumns, [&](const NeededColumn &needed) {
        return isNamed(table.name, needed.table) && isNamed(column.name, needed.column);
    });
    return found == std::end(NeededColumns) ? nullptr : found;
}

void requireWhatTheClockNeeds(const std::vector<OldTable> &tables)
{
    std::map<const NeededColumn *, QString> types;
    for (const OldTable &table : tables) {
        for (const OldColumn &column : table.columns)
            types[neededAs(table, column)] = column.type;
    }
    for (const NeededColumn &needed : NeededColumns) {
        const QString name =
            u"%1.%2"_s.arg(QLatin1String(needed.table), QLatin1String(needed.column));
        const KindTypes &wanted = typesOf(needed.kind);
        if (!types.contains(&needed))
            throw NotDone{u"%1, which the clock needs, is missing."_s.arg(name)};
        if (!wanted.types.contains(types[&needed]))
            throw NotDone{u"%1 must contain %2."_s.arg(name, QLatin1String(wanted.description))};
    }
}

bool isMoment(const QString &text)
{
    // Separately, as daylight saving may skip the two together as a local time.
    return QDate::fromString(text.section(u' ', 0, 0), u"yyyy-MM-dd").isValid() &&
           QTime::fromString(text.section(u' ', 1), u"HH:mm:ss").isValid();
}

/// Returns the value to store; none if it does not fit the column.
std::optional<Value> storedValue(const OldColumn &column, const NeededColumn *needed,
                                 const QJsonValue &value)
{
    // mdbtools truncates texts, at the end of a character, to less than 200,000 bytes of UTF-8.
    constexpr qsizetype ShortestCutText = 199'997;

    const bool isInteger = column.type == u"INTEGER";
    if (value.isUndefined()) {
        const bool isName = needed && qstrcmp(needed->column, "Name") == 0;
        return isName ? Value(u""_s) : Value();
    }
    if (value.isDouble()) {
        if (isInteger && value.toVariant().typeId() == QMetaType::LongLong)
            return value.toInteger();
        if (column.type == u"REAL" || (isInteger && !needed)) // the latter is a decimal number
            return value.toDouble();
    } else if (value.isObject()) {
        auto bytes = QByteArray::fromBase64(value[u"$binary"].toString().toLatin1());
        if (column.type == u"BLOB")
            return bytes;
        if (isInteger && !needed) // a GUID
            return QString::fromUtf8(bytes);
    } else if (column.type == u"DateTime" ? isMoment(value.toString())
                                          : typesOf(Kind::Text).types.contains(column.type)) {
        if (value.toString().toUtf8().size() < ShortestCutText)
            return value.toString();
    }
    return {};
}

/// Prints a line of the report, with names aligned left and numbers right.
void print(const QString &name, const QString &before, const QString &after, qsizetype nameWidth)
{
    Console::say(name.leftJustified(nameWidth) + before.rightJustified(22) +
                 after.rightJustified(18));
}

qint64 importTable(const OldDatabase &old, const OldTable &table, MemoryDatabase &database)
{
    std::vector<const NeededColumn *> needed;
    QStringList columns;
    for (const OldColumn &column : table.columns) {
        needed.push_back(neededAs(table, column));
        // The clock writes and looks up badge numbers as text, so numbers become text.
        const bool isBadge = needed.back() && needed.back()->kind == Kind::Badge;
        columns += quotedName(column.name) + u' ' + (isBadge ? u"TEXT"_s : column.type.toUpper());
    }
    database.run(
        u"CREATE TABLE %1 (%2)"_s.arg(quotedName(table.name), columns.join(u", ")).toUtf8());
    const QStringList places(columns.size(), u"?"_s);
    database.prepareInsert(
        u"INSERT INTO %1 VALUES (%2)"_s.arg(quotedName(table.name), places.join(u", ")).toUtf8());

    qint64 rows = 0;
    std::vector<Value> values(table.columns.size());
    return old.readRows(table.name, [&](QJsonObject row) {
        ++rows;
        const auto fail = [&](const QString &column, const QJsonValue &value) {
            constexpr qsizetype MostShown = 100;
            throw NotDone{u"table \"%1\", column \"%2\", row %3: unexpected value "
                          "\"%4\"."_s.arg(table.name, column, QString::number(rows),
                                          value.toVariant().toString().left(MostShown))};
        };
        for (std::size_t i = 0; i < values.size(); ++i) {
            const OldColumn &column = table.columns[i];
            const QJsonValue value = row.take(column.name);
            const std::optional<Value> stored = storedValue(column, needed[i], value);
            if (!stored)
                fail(column.name, value);
            values[i] = *stored;
        }
        if (!row.isEmpty())
            fail(row.begin().key(), row.begin().value());
        database.insert(values);
    });
}

void importTables(const OldDatabase &old, MemoryDatabase &database)
{
    const auto [tables, linkedTables] = old.catalogue();
    requireWhatTheClockNeeds(tables);

    qsizetype nameWidth = 0;
    for (const OldTable &table : tables)
        nameWidth = std::max(nameWidth, table.name.size());
    print(u"Table"_s, u"rows in the old file"_s, u"rows imported"_s, nameWidth);

    database.run("BEGIN");
    for (const OldTable &table : tables) {
        const QString rows = QString::number(importTable(old, table, database));
        print(table.name, rows, rows, nameWidth);
    }
    for (const QString &name : linkedTables)
        print(name, u"in another file"_s, u"none"_s, nameWidth);
    // For the clock's queries at a swipe. Names in the old file cannot contain a period.
    database.run("CREATE INDEX `RawData.DownloadResult` ON RawData (DownloadResult);"
                 "CREATE INDEX `Employee.PersonalID` ON Employee (PersonalID);"
                 "COMMIT");
}

} // namespace

int importOld(const CommandLine &line)
{
    const QString &oldFile = line.arguments[0];
    NamelessFile file(line.file);
    MemoryDatabase database;
    try {
        importTables(OldDatabase(oldFile), database);
    } catch (const NotDone &notDone) {
        throw NotDone{u"Cannot import \"%1\": %2"_s.arg(oldFile, notDone.why)};
    }
    file.write(database.bytes());
    file.publish();
    Console::say(u"Made %1."_s.arg(file.target()));
    return 0;
}

} // namespace Tavrel
