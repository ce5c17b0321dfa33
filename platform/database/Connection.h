#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <sqlite3.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>

namespace Tavrel
{

enum ConnectModeEnum { adModeRead = 1, adModeReadWrite = 3 };

/// A connection to a database file. It opens the file at its first use, for reading and writing
/// unless Mode says otherwise, and never creates it. A commit has returned only when it outlasts a
/// power cut, whatever journal the file has.
///
/// Failures carry SQLite's extended result code and its words, with the path when the file cannot
/// be opened, read or written. What is no regular file is such a failure and is not opened; a file
/// of the Jet database says in plain words that it is one.
///
/// The file is not trusted, and neither is its folder (see GuardedFiles.h): its views, triggers and
/// checks may call harmless functions alone, and a statement that needs more memory, longer values
/// or a deeper nesting than a clock does is a failure.
class Connection
{
public:
    /// How long opening the file, and then each statement, may take: the waiting for others to let
    /// go of the file, and the statement's own work. Giving up leaves the file as it was.
    std::chrono::milliseconds ConnectionTimeout = std::chrono::seconds(15);
    std::chrono::milliseconds CommandTimeout = std::chrono::seconds(30);

    /// What the file is opened for. For reading alone a file that this user may not write will do,
    /// and a journal that a crash has left behind, which would have to be written back, is failure
    /// SQLITE_READONLY_ROLLBACK.
    ConnectModeEnum Mode = adModeReadWrite;

    /// The text with the data source: the file's path, between "Data Source=" and the last
    /// ";Persist", the last backslash standing for the separator before the file's name.
    void ConnectionString(const QString &connectionString);

    /// Runs when a command meets a database that others have locked, before it waits for them.
    std::function<void()> onLocked;

    /// The open database, for a statement that begins now. Whenever the path has come to name
    /// another file than the open one, or none, the open one is left and the path opened anew.
    sqlite3 *database();

    /// Throws the failure of the last call on an open database.
    [[noreturn]] static void fail(sqlite3 *database);

private:
    struct CloseDatabase {
        void operator()(sqlite3 *database) const { sqlite3_close_v2(database); }
    };
    using Database = std::unique_ptr<sqlite3, CloseDatabase>;

    /// Which file a path names; equal for two paths, or two moments, that name the same file.
    struct FileIdentity {
        dev_t device = 0;
        ino_t inode = 0;
        mode_t type = 0; ///< S_IFREG and the like; 0 when there is none
        bool operator==(const FileIdentity &) const = default;
    };

    static FileIdentity identify(const QByteArray &path);
    static int waitForOthers(void *connection, int earlierWaits);
    static int mustStop(void *connection);
    Database open(const QByteArray &path);

    QString m_connectionString;
    Database m_database;
    FileIdentity m_openFile;
    QDeadlineTimer m_patience; ///< ends the opening, or the statement at work
};

} // namespace Tavrel
