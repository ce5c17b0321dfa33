#pragma once

#include <QJsonObject>
#include <QStringList>

#include <chrono>
#include <functional>
#include <vector>

namespace Tavrel
{

struct OldColumn {
    QString name;
    QString type; ///< INTEGER, REAL, DateTime, varchar, TEXT or BLOB
};

struct OldTable {
    QString name;
    std::vector<OldColumn> columns;
};

/// A database of Microsoft Jet 3 or later, read by the programs of mdbtools. On a damaged file they
/// may crash, hang, print without end or only warn. So every function but the constructor throws
/// NotDone if a program is not installed, prints anything to standard error, does not exit with
/// status 0, prints more than the file can contain, or prints nothing for the time `silence`.
class OldDatabase
{
public:
    /// Throws NotDone if the file cannot be read, has a different format or ends within a page.
    explicit OldDatabase(const QString &path,
                         std::chrono::milliseconds silence = std::chrono::seconds(30));

    struct Catalogue {
        std::vector<OldTable> tables; ///< all except the engine's own
        QStringList linkedTables;     ///< links to tables in other files
    };
    Catalogue catalogue() const;

    /// Calls `take` with each row of the table, which lacks the columns whose value is Null or an
    /// empty text. Bytes are {"$binary": BASE64}, and so are the characters of a GUID. Returns the
    /// number of rows; throws NotDone if it differs from the file's own count.
    qint64 readRows(const QString &table,
                    const std::function<void(const QJsonObject &row)> &take) const;

private:
    void run(const QString &program, const QStringList &arguments,
             const std::function<void(const QByteArray &line)> &take) const;

    QString m_path;
    qint64 m_size = 0;
    std::chrono::milliseconds m_silence;
};

} // namespace Tavrel
