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

/// A connection to a database file. It opens the file on first use, for reading and writing unless
/// Mode says otherwise, and never creates it. Once a commit has returned it survives a power cut,
/// whatever journal mode the file has.
///
/// Failures carry SQLite's extended result code and message, with the path if the file cannot be
/// opened, read or written. Anything but a regular file is SQLITE_CANTOPEN and is not opened; a Jet
/// database is SQLITE_NOTADB, with a message that says what it is.
///
/// The file is not trusted, and neither is its folder (see GuardedFiles.h): its views, triggers and
/// checks may call only harmless functions, and a statement fails if it needs more memory, longer
/// values or deeper nesting than the clock's own do.
class Connection
{
public:
    /// The maximum time for opening the file, and then for each statement, including the wait for
    /// other programs to release the file. A time-out leaves the file unchanged.
    std::chrono::milliseconds ConnectionTimeout = std::chrono::seconds(15);
    std::chrono::milliseconds CommandTimeout = std::chrono::seconds(30);

    /// How the file is opened. adModeRead also opens a file that this user may not write; it cannot
    /// roll back a journal left by a crash, and fails with SQLITE_READONLY_ROLLBACK.
    ConnectModeEnum Mode = adModeReadWrite;

    /// Sets the text that holds the path of the file, between "Data Source=" and the last
    /// ";Persist". The last backslash becomes the separator before the file name.
    void ConnectionString(const QString &connectionString);

    /// Called when a command finds the database locked by others, before it waits for them.
    std::function<void()> onLocked;

    /// Returns the open database, for a statement that starts now. If the path no longer names the
    /// open file, closes it and opens the path again.
    sqlite3 *database();

    /// Throws the failure of the last call on an open database.
    [[noreturn]] static void fail(sqlite3 *database);

private:
    struct CloseDatabase {
        void operator()(sqlite3 *database) const { sqlite3_close_v2(database); }
    };
    using Database = std::unique_ptr<sqlite3, CloseDatabase>;

    /// Identifies the file that a path names: equal for two paths, or at two times, that name the
    /// same file.
    struct FileIdentity {
        dev_t device = 0;
        ino_t inode = 0;
        mode_t type = 0; ///< S_IFREG and the like; 0 if there is no file
        bool operator==(const FileIdentity &) const = default;
    };

    static FileIdentity identify(const QByteArray &path);
    static int waitForOthers(void *connection, int earlierWaits);
    static int mustStop(void *connection);
    Database open(const QByteArray &path);

    QString m_connectionString;
    Database m_database;
    FileIdentity m_openFile;
    QDeadlineTimer m_patience; ///< limits the opening, or the running statement
};

} // namespace Tavrel
