#include "tools/records/Employees.h"

#include "tools/console/Console.h"
#include "tools/console/NotDone.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The employee's badge and name on one line, or those of all who have the badge; null if no one
/// has it.
QString employee(TimeDatabase &database, const QString &badge)
{
    const QString sql =
        u"SELECT group_concat(PersonalID || ' ' || ifnull(Name, ''), '; ') FROM Employee "
        "WHERE PersonalID = ?"_s;
    return database.value(sql, {badge}).toString();
}

/// Adds, changes or, without a name among the arguments, removes the employee whose badge they
/// begin with; returns the employee as before.
QString change(const CommandLine &line, bool isNew)
{
    QString badge = line.arguments[0].trimmed();
    const bool removes = line.arguments.size() == 1;
    const QString name = removes ? QString() : line.arguments[1].trimmed();
    const QString why = removes ? QString() : whyRefused(badge, name);
    if (!why.isEmpty())
        throw NotDone{u"Cannot store badge \"%1\", name \"%2\": %3."_s.arg(badge, name, why)};
    TimeDatabase database(line.file);
    QString before;
    database.change([&] {
        // Another program may have stored blanks around a badge.
        if (!isNew && !employee(database, line.arguments[0]).isNull())
            badge = line.arguments[0];
        before = employee(database, badge);
        if (isNew && !before.isNull())
            throw NotDone{u"The badge exists: %1."_s.arg(before)};
        if (!isNew && before.isNull())
            throw NotDone{u"No employee has badge \"%1\"."_s.arg(badge)};
        setEmployee(database, badge, name, line);
    });
    return before;
}

} // namespace

QString whyRefused(const QString &badge, const QString &name)
{
    return badge.isEmpty()            ? u"no badge"_s
           : badge.size() > BadgeSize ? u"badge longer than %1 characters"_s.arg(BadgeSize)
           : name.isEmpty()           ? u"no name"_s
                                      : QString();
}

void setEmployee(TimeDatabase &database, const QString &badge, const QString &name,
                 const CommandLine &line)
{
    const QString before = employee(database, badge);
    const QString after = name.isNull() ? QString() : badge + u' ' + name;
    const auto run = [&](const QString &done, const QString &sql,
                         const std::vector<QVariant> &values) {
        database.changeRows(sql, values);
        database.note({u"employee "_s + done, before, after}, line.options[u"reason"_s]);
    };
    if (name.isNull())
        run(u"removed"_s, u"DELETE FROM Employee WHERE PersonalID = ?"_s, {badge});
    else if (before.isNull())
        run(u"added"_s, u"INSERT INTO Employee (PersonalID, Name) VALUES (?, ?)"_s, {badge, name});
    else
        run(u"renamed"_s, u"UPDATE Employee SET Name = ? WHERE PersonalID = ?"_s, {name, badge});
}

int listEmployees(const CommandLine &line)
{
    const QString text = line.arguments.value(0);
    TimeDatabase database(line.file);
    TextTable table({"Badge", "Name"});
    Statement rows =
        database.statement(u"SELECT PersonalID, Name FROM Employee ORDER BY PersonalID"_s);
    while (rows.step()) {
        const QString badge = rows.value(0).toVariant().toString();
        const QString name = rows.value(1).toVariant().toString();
        // SQLite ignores the case of ASCII letters only.
        if (badge.contains(text, Qt::CaseInsensitive) || name.contains(text, Qt::CaseInsensitive))
            table.add({badge, name});
    }
    table.print(line.format());
    return Console::Succeeded;
}

int addEmployee(const CommandLine &line)
{
    change(line, true);
    Console::say(u"Added %1 %2."_s.arg(line.arguments[0].trimmed(), line.arguments[1].trimmed()));
    return Console::Succeeded;
}

int renameEmployee(const CommandLine &line)
{
    const QString before = change(line, false);
    Console::say(u"Renamed %1 to %2."_s.arg(before, line.arguments[1].trimmed()));
    return Console::Succeeded;
}

int removeEmployee(const CommandLine &line)
{
    Console::say(u"Removed %1. The punches of this badge stay."_s.arg(change(line, false)));
    return Console::Succeeded;
}

} // namespace Tavrel
