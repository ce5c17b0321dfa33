#pragma once

#include "platform/database/Connection.h"
#include "platform/database/Statement.h"

#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <vector>

namespace Tavrel
{

/// The most characters of a badge number that the clock stores.
inline constexpr qsizetype BadgeSize = 50;

/// What a correction changed, and to what, each as a line for people; empty if there was or is
/// nothing.
struct Correction {
    QString change; ///< for example "punch added"
    QString was;
    QString became;
};

/// The time database, as the owner's commands read and change it. Badges are compared as the clock
/// compares them: as text, letter by letter. Failures of the database are thrown as Failure.
class TimeDatabase
{
public:
    /// The time limit of a statement that scans a table. One that runs for as long as the clock
    /// waits for the file could cost a punch.
    static constexpr std::chrono::seconds LongestRead{20};

    /// Opens `file` on first use, for writing too if this user may.
    explicit TimeDatabase(const QString &file);

    Connection &connection() { return m_connection; }

    Statement statement(const QString &sql, const std::vector<QVariant> &parameters = {})
    {
        return Statement(m_connection, sql, parameters);
    }

    /// Runs a statement that changes rows.
    void execute(const QString &sql, const std::vector<QVariant> &parameters = {})
    {
        statement(sql, parameters).execute();
    }

    /// The same for a statement that must change rows. Throws NotDone if it changes none, as a
    /// trigger in the file may prevent it.
    void changeRows(const QString &sql, const std::vector<QVariant> &parameters = {});

    /// The only value of a query; invalid if it has no row.
    QVariant value(const QString &sql, const std::vector<QVariant> &parameters = {});

    /// Runs `action` in one transaction, which locks the file for other writers. If it throws,
    /// nothing is changed.
    void change(const std::function<void()> &action);

    /// Within change(): adds a line to the table Correction, which it creates if necessary, with
    /// the time and this user's name. The clock does not know this table:
    ///
    ///     Correction      DateTime, UserName, Change, Was, Became, Reason
    void note(const Correction &correction, const QString &reason)
    {
        note(m_connection.database(), correction, reason);
    }

    /// The same in an open database.
    static void note(sqlite3 *database, const Correction &correction, const QString &reason);
    static void makeCorrectionTable(sqlite3 *database);

private:
    Connection m_connection;
};

} // namespace Tavrel
