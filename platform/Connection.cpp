#include "platform/Connection.h"

#include "platform/Failure.h"

#include <QDateTime>
#include <QFile>
#include <QThread>

#include <sys/stat.h>

namespace
{

constexpr qint64 MillisecondsPerSecond = 1000;

/// How a file of the Jet database engine begins, four bytes in.
constexpr char JetMark[] = "Standard Jet DB";
constexpr qint64 JetMarkOffset = 4;

[[noreturn]] void fail(sqlite3 *database)
{
    throw Failure(sqlite3_extended_errcode(database), QString::fromUtf8(sqlite3_errmsg(database)));
}

/// The file's path, as the system spells it.
QByteArray pathIn(const QString &connectionString)
{
    static const QString Begin = QStringLiteral("Data Source=");
    static const QString End = QStringLiteral(";Persist");

    const qsizetype begin = connectionString.indexOf(Begin);
    if (begin < 0)
        throw Failure(SQLITE_CANTOPEN, QStringLiteral("The connection string names no file."));
    const qsizetype end = connectionString.lastIndexOf(End);
    QString path = connectionString.mid(begin + Begin.size());
    if (end > begin)
        path.chop(connectionString.size() - end);
    if (const qsizetype separator = path.lastIndexOf(u'\\'); separator >= 0)
        path[separator] = u'/';
    return QFile::encodeName(path);
}

bool isJetFile(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) && file.seek(JetMarkOffset) &&
           file.read(sizeof JetMark - 1) == JetMark;
}

} // namespace

void Connection::ConnectionString(const QString &connectionString)
{
    m_connectionString = connectionString;
    m_database.reset();
}

sqlite3 *Connection::database()
{
    const QByteArray path = pathIn(m_connectionString);
    const FileIdentity named = identify(path);
    if (!m_database || named != m_openFile) {
        m_database.reset();
        m_database = open(path);
        m_openFile = named; // if the path changed since, the next command opens it again
    }
    return m_database.get();
}

Connection::FileIdentity Connection::identify(const QByteArray &path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino};
}

Connection::Database Connection::open(const QByteArray &path)
{
    if (isJetFile(path))
        throw Failure(SQLITE_NOTADB,
                      QStringLiteral("The database is in the format of Microsoft Jet. It has to "
                                     "be converted to SQLite before it can be used."));

    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(path.constData(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    Database database(opened);
    if (result != SQLITE_OK)
        fail(opened);

    // SQLite falls back to reading by itself where it may not write.
    if (sqlite3_db_readonly(opened, "main") == 1)
        throw Failure(SQLITE_READONLY, QString::fromUtf8(sqlite3_errstr(SQLITE_READONLY)));

    m_timeout = ConnectionTimeout;
    sqlite3_busy_handler(opened, &Connection::waitForOthers, this);

    // FULL does not sync the folder behind a journal's removal: a journal that is back after a
    // power cut takes the last commit with it.
    if (sqlite3_exec(opened, "PRAGMA synchronous = EXTRA", nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(opened);
    m_timeout = CommandTimeout;
    return database;
}

/// Called by SQLite each time that it finds the file locked: 1 to try again, 0 to give up.
int Connection::waitForOthers(void *connection, int earlierWaits)
{
    constexpr unsigned long WaitMilliseconds = 10;
    auto *self = static_cast<Connection *>(connection);
    if (earlierWaits == 0) {
        self->m_patience.setRemainingTime(self->m_timeout * MillisecondsPerSecond);
        if (self->onLocked)
            self->onLocked();
    }
    QThread::msleep(WaitMilliseconds);
    return self->m_patience.hasExpired() ? 0 : 1;
}

Statement::Statement(Connection &connection, const QString &sql,
                     const std::vector<QVariant> &parameters)
    : m_database(connection.database())
{
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt *statement = nullptr;
    check(sqlite3_prepare_v2(m_database, text.constData(), static_cast<int>(text.size()),
                             &statement, nullptr));
    m_statement.reset(statement);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        bind(static_cast<int>(i) + 1, parameters[i]);
}

bool Statement::step()
{
    const int result = sqlite3_step(m_statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        fail(m_database);
    return result == SQLITE_ROW;
}

int Statement::columnCount() const
{
    return sqlite3_column_count(m_statement.get());
}

QString Statement::columnName(int column) const
{
    return QString::fromUtf8(sqlite3_column_name(m_statement.get(), column));
}

QVariant Statement::value(int column) const
{
    sqlite3_stmt *statement = m_statement.get();
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qlonglong>(sqlite3_column_int64(statement, column));
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, column);
    case SQLITE_TEXT:
        return QString::fromUtf8(
            reinterpret_cast<const char *>(sqlite3_column_text(statement, column)),
            sqlite3_column_bytes(statement, column));
    case SQLITE_BLOB:
        return QByteArray(static_cast<const char *>(sqlite3_column_blob(statement, column)),
                          sqlite3_column_bytes(statement, column));
    default:
        return {};
    }
}

int Statement::execute()
{
    while (step()) {
    }
    return sqlite3_changes(m_database);
}

void Statement::bind(int index, const QVariant &value)
{
    sqlite3_stmt *statement = m_statement.get();
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        check(sqlite3_bind_null(statement, index));
        break;
    case QMetaType::Double:
        check(sqlite3_bind_double(statement, index, value.toDouble()));
        break;
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        check(sqlite3_bind_blob(statement, index, bytes.constData(), static_cast<int>(bytes.size()),
                                SQLITE_TRANSIENT));
        break;
    }
    case QMetaType::QString:
    case QMetaType::QDateTime: {
        const QByteArray text = (value.typeId() == QMetaType::QDateTime
                                     ? value.toDateTime().toString(u"yyyy-MM-dd HH:mm:ss")
                                     : value.toString())
                                    .toUtf8();
        check(sqlite3_bind_text(statement, index, text.constData(), static_cast<int>(text.size()),
                                SQLITE_TRANSIENT));
        break;
    }
    default:
        check(sqlite3_bind_int64(statement, index, value.toLongLong()));
    }
}

void Statement::check(int result) const
{
    if (result != SQLITE_OK)
        fail(m_database);
}
