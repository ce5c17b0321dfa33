#include "platform/database/Connection.h"

#include "platform/basics/Failure.h"
#include "platform/database/GuardedFiles.h"

#include <QFile>
#include <QThread>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The signature of a Jet database file, and its offset in bytes.
constexpr char JetMark[] = "Standard Jet DB";
constexpr qint64 JetMarkOffset = 4;

/// More than any statement of the clock needs, even with tables and triggers that a site has added.
/// SQLite's own limits are far higher.
struct Limit {
    int number;
    int most;
};
constexpr std::array Limits{
    Limit{SQLITE_LIMIT_LENGTH, 100'000},     // bytes of a value or a row
    Limit{SQLITE_LIMIT_SQL_LENGTH, 100'000}, // bytes
    Limit{SQLITE_LIMIT_EXPR_DEPTH, 100},
    Limit{SQLITE_LIMIT_TRIGGER_DEPTH, 10},
};

/// Instructions of SQLite's virtual machine between two checks of the time-out; well under a
/// millisecond, unless an SQL function takes long.
constexpr int WorkBetweenLooks = 10000;

constexpr char NotRegular[] = "not a regular file";

Failure failureOfFile(int code, const char *words, const QByteArray &path)
{
    return {code, QString::fromUtf8(words) + u": "_s + QFile::decodeName(path)};
}

/// The journal or shared-memory file of the database at `path` that is not a regular file or has a
/// second name; empty if there is none.
QByteArray oddJournal(const QByteArray &path)
{
    for (const char *ending : {"-journal", "-wal", "-shm"}) {
        struct stat status = {};
        if (::lstat((path + ending).constData(), &status) == 0 &&
            (!S_ISREG(status.st_mode) || status.st_nlink > 1))
            return path + ending;
    }
    return {};
}

[[noreturn]] void failOn(sqlite3 *database, const QByteArray &path)
{
    const int code = sqlite3_extended_errcode(database);
    const char *words = sqlite3_errmsg(database);
    switch (sqlite3_errcode(database)) {
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_IOERR:
    case SQLITE_CORRUPT:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
    case SQLITE_NOTADB:
        if (const QByteArray journal = oddJournal(path); !journal.isEmpty())
            throw failureOfFile(SQLITE_CANTOPEN, NotRegular, journal);
        throw failureOfFile(code, words, path);
    case SQLITE_INTERRUPT: // only by Connection::mustStop
        throw Failure(code, u"The database did not answer within the time-out."_s);
    default:
        throw Failure(code, QString::fromUtf8(words));
    }
}

/// The file's path, in the encoding of the file system.
QByteArray pathIn(const QString &connectionString)
{
    static const QString Begin = u"Data Source="_s;
    static const QString End = u";Persist"_s;

    const qsizetype begin = connectionString.indexOf(Begin);
    if (begin < 0)
        throw Failure(SQLITE_CANTOPEN, u"The connection string names no file."_s);
    const qsizetype end = connectionString.lastIndexOf(End);
    QString path = connectionString.mid(begin + Begin.size());
    if (end > begin)
        path.chop(connectionString.size() - end);
    if (const qsizetype separator = path.lastIndexOf(u'\\'); separator >= 0)
        path[separator] = u'/';
    return QFile::encodeName(path);
}

/// Reads through the database's own handle: closing another one on the same file would drop the
/// locks that this process holds on it.
bool isJetFile(sqlite3 *database)
{
    sqlite3_file *file = nullptr;
    std::array<char, sizeof JetMark - 1> mark{};
    sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void *>(&file));
    return file->pMethods->xRead(file, mark.data(), mark.size(), JetMarkOffset) == SQLITE_OK &&
           std::ranges::equal(mark, std::string_view(JetMark));
}

} // namespace

void Connection::fail(sqlite3 *database)
{
    failOn(database, sqlite3_db_filename(database, "main"));
}

void Connection::ConnectionString(const QString &connectionString)
{
    m_connectionString = connectionString;
    m_database.reset();
}

sqlite3 *Connection::database()
{
    const QByteArray path = trustedPath(pathIn(m_connectionString));
    const FileIdentity named = identify(path);
    if (!m_database || named != m_openFile) {
        m_database.reset();
        if (named.type == 0)
            throw failureOfFile(SQLITE_CANTOPEN, sqlite3_errstr(SQLITE_CANTOPEN), path);
        if (named.type != S_IFREG)
            throw failureOfFile(SQLITE_CANTOPEN, NotRegular, path);
        m_database = open(path);
        m_openFile = named; // if the path has changed meanwhile, the next command reopens it
    }
    m_patience.setRemainingTime(CommandTimeout);
    return m_database.get();
}

Connection::FileIdentity Connection::identify(const QByteArray &path)
{
    struct stat status = {};
    if (::lstat(path.constData(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_mode & S_IFMT};
}

Connection::Database Connection::open(const QByteArray &path)
{
    sqlite3 *opened = nullptr;
    const int flags = Mode == adModeRead ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    const int result = sqlite3_open_v2(path.constData(), &opened, flags, guardedFiles());
    Database database(opened);
    if (result != SQLITE_OK)
        failOn(opened, path);
    if (isJetFile(opened))
        throw Failure(SQLITE_NOTADB, u"The database is in the format of Microsoft Jet. It has to "
                                     "be converted to SQLite before it can be used."_s);

    // SQLite silently falls back to read-only where it may not write.
    if (Mode != adModeRead && sqlite3_db_readonly(opened, "main") == 1)
        throw failureOfFile(SQLITE_READONLY, sqlite3_errstr(SQLITE_READONLY), path);

    // Keeps views, triggers and checks in the file from doing harm outside it.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    for (const auto &[number, most] : Limits)
        sqlite3_limit(opened, number, most);

    m_patience.setRemainingTime(ConnectionTimeout);
    sqlite3_busy_handler(opened, &Connection::waitForOthers, this);
    sqlite3_progress_handler(opened, WorkBetweenLooks, &Connection::mustStop, this);

    // FULL does not sync the folder after deleting a journal: a power cut can bring the journal
    // back, and its rollback undoes the last commit. Without the cell size check SQLite writes to a
    // page even if its cells do not fit, and a new punch may overwrite an old one.
    constexpr char Settings[] = "PRAGMA synchronous = EXTRA; PRAGMA cell_size_check = ON";
    if (sqlite3_exec(opened, Settings, nullptr, nullptr, nullptr) != SQLITE_OK)
        failOn(opened, path);
    return database;
}

/// Called by SQLite each time it finds the file locked; returns 1 to retry, 0 to give up.
int Connection::waitForOthers(void *connection, int earlierWaits)
{
    constexpr unsigned long WaitMilliseconds = 10;
    auto *self = static_cast<Connection *>(connection);
    if (earlierWaits == 0 && self->onLocked)
        self->onLocked();
    QThread::msleep(WaitMilliseconds);
    return self->m_patience.hasExpired() ? 0 : 1;
}

/// Called by SQLite while a statement runs; returns 1 to interrupt it.
int Connection::mustStop(void *connection)
{
    return static_cast<Connection *>(connection)->m_patience.hasExpired() ? 1 : 0;
}

} // namespace Tavrel
