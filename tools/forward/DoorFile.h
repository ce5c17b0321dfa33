#pragma once

#include "tools/records/TimeDatabase.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace Tavrel
{

/// A row of the door's file, of which the punch can be sent unless `reason` says why not.
struct PunchRow {
    qint64 row = 0;
    std::array<char, 19> time{}; ///< YYYY-MM-DD HH:MM:SS
    int type = 0;                ///< 1 for Clock In, 0 for Clock Out
    QByteArrayView badge;        ///< UTF-8, valid during the visit
    const char *reason = nullptr;

    QByteArrayView day() const { return QByteArrayView(time.data(), 10); }
};

/// The punches of one day, as a multiset of (badge, type, local time).
struct Day {
    qint64 count = 0;
    quint64 digest = 0; ///< the sum of a hash of each punch, so the order does not matter

    /// The rows among which its punches were found, which do not count in a comparison.
    qint64 firstRow = std::numeric_limits<qint64>::max();
    qint64 lastRow = std::numeric_limits<qint64>::min();

    void add(const PunchRow &punch);
    bool operator==(const Day &other) const
    {
        return count == other.count && digest == other.digest;
    }
};

/// Days that have punches, by YYYY-MM-DD.
using Days = std::map<QByteArray, Day, std::less<>>;

/// The time database of a door, which the clock and others may use at the same time. Reading locks
/// it only for moments. Failures of the database are thrown as Failure.
class DoorFile
{
public:
    /// For how long reading locks the file at a time.
    static constexpr std::chrono::milliseconds LongestLock{5};

    /// Opens `file` on first use. Throws NotDone if it is not adopted.
    explicit DoorFile(const QString &file);

    TimeDatabase &database() { return m_database; }
    const QString &identity() const { return m_identity; }

    /// Calls `visit` for each row, or only for those of `days` that are where these were found, in
    /// the order of the row numbers. Others may change the file between two locks.
    void read(const std::function<void(const PunchRow &)> &visit, const Days *days = nullptr);

    /// Identifies the content of the file.
    struct Version {
        QByteArray present; ///< differs from an earlier one of this object if the file was changed
        QByteArray lasting; ///< the same for all objects; empty if changed within the last second
    };

    /// Throws NotDone if another database has replaced the one that was opened.
    Version version();

    /// What a scan finds.
    struct Scan {
        Days days;
        qint64 unsendable = 0; ///< the number of rows that cannot be sent
        QByteArray version;    ///< of the file, see Version::lasting
    };

    /// Reads all days. Nothing if the file was changed meanwhile.
    std::optional<Scan> scan();

private:
    QString m_file;
    TimeDatabase m_database;
    QString m_identity;
};

} // namespace Tavrel
