#pragma once

#include "tools/records/CommandLine.h"
#include "tools/records/TimeDatabase.h"

#include <QString>

namespace Tavrel
{

/// Why an employee cannot have this badge and name, for example "no badge"; empty if that is
/// possible. Neither has blanks around it.
QString whyRefused(const QString &badge, const QString &name);

/// Within TimeDatabase::change(): adds an employee, renames the one who has the badge, or removes
/// that one if `name` is null; notes it with the --reason of `line`.
void setEmployee(TimeDatabase &database, const QString &badge, const QString &name,
                 const CommandLine &line);

/// `employees [TEXT]`: lists badges and names, or those of which one contains TEXT, in upper or
/// lower case. Returns the exit status, as all commands.
int listEmployees(const CommandLine &line);

/// `employees add BADGE NAME`: throws NotDone if whyRefused(), or if an employee has the badge.
int addEmployee(const CommandLine &line);

/// `employees rename BADGE NAME`: throws NotDone if whyRefused(), or if no employee has the
/// badge.
int renameEmployee(const CommandLine &line);

/// `employees remove BADGE`: throws NotDone if no employee has the badge. The punches stay.
int removeEmployee(const CommandLine &line);

} // namespace Tavrel
