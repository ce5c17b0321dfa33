#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>
#include <QVariant>

#include <sqlite3.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <vector>

/// A connection to a database file. It opens the file at its first use, for reading and writing,
/// and never creates it. Failures carry SQLite's extended result code and its words; a file of
/// the Jet database says in plain words that it is one.
class Connection
{
public:
    /// Seconds that opening the file, and then each command, waits for others to let go of it.
    static constexpr int ConnectionTimeout = 15;
    static constexpr int CommandTimeout = 30;

    /// The text with the data source: the file's path, between "Data Source=" and the last
    /// ";Persist", the last backslash standing for the separator before the file's name.
    void ConnectionString(const QString &connectionString);

    /// Runs when a command meets a database that others have locked, before it waits for them.
    std::function<void()> onLocked;

    /// The open database. Whenever the path has come to name another file than the open one, or
    /// none, the open one is left and the path opened anew.
    sqlite3 *database();

private:
    struct CloseDatabase {
        void operator()(sqlite3 *database) const { sqlite3_close_v2(database); }
    };
    using Database = std::unique_ptr<sqlite3, CloseDatabase>;

    /// Which file a path names; equal for two paths, or two moments, that name the same file.
    struct FileIdentity {
        dev_t device = 0;
        ino_t inode = 0;
        bool operator==(const FileIdentity &) const = default;
    };

    static FileIdentity identify(const QByteArray &path);
    static int waitForOthers(void *connection, int earlierWaits);
    Database open(const QByteArray &path);

    QString m_connectionString;
    Database m_database;
    FileIdentity m_openFile;
    int m_timeout = ConnectionTimeout;
    QDeadlineTimer m_patience; ///< ends the wait for others
};

/// One statement, from its preparation to its end. It must not outlive the use it is made for: a
/// statement that is not finished locks the file for everybody else.
class Statement
{
public:
    /// Prepares `sql`, with `parameters` bound in order. Values are Null, qlonglong, double,
    /// QString, QByteArray, the smaller whole numbers, and QDateTime, which is stored as local
    /// time in the form YYYY-MM-DD HH:MM:SS.
    Statement(Connection &connection, const QString &sql,
              const std::vector<QVariant> &parameters = {});

    /// Steps to the next row; false when there is none.
    bool step();

    int columnCount() const;
    QString columnName(int column) const;

    /// Null, qlonglong, double, QString or QByteArray.
    QVariant value(int column) const;

    /// Runs the statement to its end and returns how many rows it changed itself.
    int execute();

private:
    struct Finalize {
        void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
    };

    void bind(int index, const QVariant &value);
    void check(int result) const;

    sqlite3 *m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};
