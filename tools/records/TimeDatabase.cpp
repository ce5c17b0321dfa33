#include "tools/records/TimeDatabase.h"

#include "platform/basics/Failure.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"

#include <QDateTime>
#include <QFileInfo>

#include <unistd.h>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The user who called the program, also through sudo, which sets the variable.
QString caller()
{
    if (::geteuid() == 0 && qEnvironmentVariableIsSet("SUDO_USER"))
        return u"root (%1)"_s.arg(qEnvironmentVariable("SUDO_USER"));
    return Console::userName(::geteuid());
}

} // namespace

TimeDatabase::TimeDatabase(const QString &file)
{
    const QFileInfo named(file);
    m_connection.Mode = named.isWritable() ? adModeReadWrite : adModeRead;
    m_connection.ConnectionString(
        u"Data Source=%1\\%2;Persist"_s.arg(named.absolutePath(), named.fileName()));
}

QVariant TimeDatabase::value(const QString &sql, const std::vector<QVariant> &parameters)
{
    Statement query = statement(sql, parameters);
    return query.step() ? query.value(0).toVariant() : QVariant();
}

void TimeDatabase::change(const std::function<void()> &action)
{
    statement(u"BEGIN IMMEDIATE"_s).execute();
    try {
        action();
        statement(u"COMMIT"_s).execute();
    } catch (...) {
        sqlite3_exec(m_connection.database(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void TimeDatabase::changeRows(const QString &sql, const std::vector<QVariant> &parameters)
{
    if (statement(sql, parameters).execute() == 0)
        throw NotDone{u"The database did not make the change; a trigger may prevent it."_s};
}

void TimeDatabase::makeCorrectionTable(sqlite3 *database)
{
    Statement(database, u"CREATE TABLE IF NOT EXISTS Correction ("
                        "DateTime DATETIME NOT NULL, UserName VARCHAR(100) NOT NULL, "
                        "Change VARCHAR(50) NOT NULL, Was TEXT NOT NULL, Became TEXT NOT NULL, "
                        "Reason TEXT NOT NULL)"_s)
        .execute();
}

void TimeDatabase::note(sqlite3 *database, const Correction &correction, const QString &reason)
{
    int added = 0;
    QString why = u"a trigger may prevent it"_s;
    try {
        makeCorrectionTable(database);
        added =
            Statement(database,
                      u"INSERT INTO Correction (DateTime, UserName, Change, Was, Became, Reason) "
                      "VALUES (?1, ?2, ?3, ?4, ?5, ?6)"_s,
                      {QDateTime::currentDateTime(), caller(), correction.change, correction.was,
                       correction.became, reason})
                .execute();
    } catch (const Failure &failure) {
        why = failure.description;
    }
    if (added == 0)
        throw NotDone{
            u"Nothing was changed, because the table Correction cannot be written: %1."_s.arg(why)};
}

} // namespace Tavrel
