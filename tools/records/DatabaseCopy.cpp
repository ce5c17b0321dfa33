#include "tools/records/DatabaseCopy.h"

#include "platform/basics/Failure.h"
#include "platform/database/GuardedFiles.h"

#include <limits>

namespace Tavrel
{

using namespace Qt::StringLiterals;

DatabaseCopy::DatabaseCopy(Connection &source, const QString &target) : m_file(target, 0660)
{
    open();
    copyPages(source);

    // The mode WAL, which needs two other files, is a number of the header, once for reading and
    // once for writing; 1 is a journal.
    constexpr char Journals[] = {1, 1};
    constexpr sqlite3_int64 JournalsOffset = 18;
    sqlite3_file *file = nullptr;
    sqlite3_file_control(database(), "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void *>(&file));
    if (const int result = file->pMethods->xWrite(file, Journals, sizeof Journals, JournalsOffset);
        result != SQLITE_OK)
        throw Failure(result, QString::fromUtf8(sqlite3_errstr(result)));
    open(); // without what the other connection has read
}

void DatabaseCopy::open()
{
    sqlite3 *opened = nullptr;
    const int result =
        sqlite3_open_v2(m_file.path().constData(), &opened, SQLITE_OPEN_READWRITE, guardedFiles());
    m_database.reset(opened);
    if (result != SQLITE_OK)
        Connection::fail(opened);
    // Nothing in a file of others runs here: a view may have no end, a trigger may drop rows.
    for (const int option : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_VIEW,
                             SQLITE_DBCONFIG_ENABLE_TRIGGER})
        sqlite3_db_config(opened, option, 0, nullptr);
    // Rows that break a rule of the site are not damage. DEFENSIVE comes last, as it forbids the
    // journal mode OFF.
    constexpr char Settings[] = "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; "
                                "PRAGMA ignore_check_constraints = ON";
    sqlite3_exec(opened, Settings, nullptr, nullptr, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
}

void DatabaseCopy::copyPages(Connection &source)
{
    // Other programs can write between two pieces, but then SQLite starts over.
    constexpr int Piece = 1000; // pages
    constexpr int All = -1;
    constexpr int MostRestarts = 5;

    sqlite3 *from = source.database();
    const PageCopying pages(sqlite3_backup_init(database(), "main", from, "main"));
    int result = SQLITE_OK;
    int restarts = 0;
    for (int remaining = std::numeric_limits<int>::max(); result == SQLITE_OK;) {
        if (source.database() != from) // which also grants each piece its own time-out
            throw Failure(SQLITE_READONLY_DBMOVED, u"The database was replaced meanwhile."_s);
        result = sqlite3_backup_step(pages.get(), restarts < MostRestarts ? Piece : All);
        const int before = std::exchange(remaining, sqlite3_backup_remaining(pages.get()));
        restarts += remaining >= before ? 1 : 0;
    }
    if (result != SQLITE_DONE)
        throw Failure(result, u"Cannot copy the database to \"%1\": %2"_s.arg(
                                  m_file.target(), QString::fromUtf8(sqlite3_errstr(result))));
}

QString DatabaseCopy::damage() const
{
    try {
        Statement check = statement(u"PRAGMA integrity_check(1)"_s);
        check.step();
        const QString found = check.value(0).toVariant().toString();
        return found == u"ok" ? QString() : found.section(u'\n', -1);
    } catch (const Failure &failure) {
        return QString::fromUtf8(sqlite3_errstr(failure.number));
    }
}

} // namespace Tavrel
