#include "tools/forward/DoorFile.h"

#include "platform/database/GuardedFiles.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/Forwarding.h"
#include "tools/records/StoredTime.h"

#include <QDeadlineTimer>
#include <QFile>

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <string>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// More than any badge has; the office's index takes at most 2,700 bytes.
constexpr qsizetype LongestBadge = 500;

QByteArrayView dayOf(QByteArrayView time)
{
    constexpr qsizetype DaySize = 10; // YYYY-MM-DD
    return time.first(std::min(DaySize, time.size()));
}

PunchRow punchOf(const Statement &row)
{
    PunchRow punch;
    const bool isBadgeBytes = row.isBytes(1);
    const bool isTimeBytes = row.isBytes(3);
    punch.row = row.number(0);
    punch.badge = row.text(1);
    const QByteArrayView type = row.text(2);
    const QByteArrayView time = row.text(3);
    punch.type = type == "1" ? 1 : 0;
    if (isTimeBytes || !wallTimeOf(time)) {
        punch.reason = "no date and time";
    } else if (isBadgeBytes || !punch.badge.isValidUtf8() || punch.badge.contains('\0')) {
        punch.reason = "badge is not text";
    } else if (punch.badge.size() > LongestBadge) {
        punch.reason = "badge too long";
    } else if (type != "1" && type != "0") {
        punch.reason = "neither Clock In (1) nor Clock Out (0)";
    } else {
        punch.time = {'0', '0', '0', '0', '-', '0', '0', '-', '0', '0',
                      ' ', '0', '0', ':', '0', '0', ':', '0', '0'};
        std::ranges::copy(time, punch.time.begin());
        punch.time[10] = ' ';
    }
    return punch;
}

} // namespace

void Day::add(const PunchRow &punch)
{
    // The hash is the same on all systems with this standard library; a different one costs a pass
    // that sends all days.
    static std::string text;
    text.assign(punch.time.begin(), punch.time.end());
    text += punch.type == 1 ? '1' : '0';
    text.append(punch.badge.data(), static_cast<std::size_t>(punch.badge.size()));
    ++count;
    firstRow = std::min(firstRow, punch.row);
    lastRow = std::max(lastRow, punch.row);
    digest += std::hash<std::string>()(text);
}

DoorFile::DoorFile(const QString &file)
    : m_file(file), m_database(file), m_identity(Forwarding::identity(m_database.connection()))
{
    if (m_identity.isNull())
        throw NotDone{
            u"The database is not bound to a door yet. Run %1 adopt."_s.arg(Console::program())};
}

void DoorFile::read(const std::function<void(const PunchRow &)> &visit, const Days *days)
{
    constexpr int RowsBetweenLooks = 64; // at the time
    qint64 next = days ? Day().firstRow : std::numeric_limits<qint64>::min();
    qint64 last = days ? Day().lastRow : std::numeric_limits<qint64>::max();
    const Days none;
    for (const auto &entry : days ? *days : none) {
        next = std::min(next, entry.second.firstRow);
        last = std::max(last, entry.second.lastRow);
    }
    for (bool isDone = next > last; !isDone;) {
        Statement rows = m_database.statement(
            u"SELECT _rowid_, PersonalID, EventStatus, DateTime FROM RawDataDetails "
            "WHERE _rowid_ BETWEEN ?1 AND ?2 ORDER BY _rowid_"_s,
            {next, last});
        const QDeadlineTimer end(LongestLock);
        isDone = true;
        for (int count = 1; rows.step(); ++count) {
            const qint64 row = rows.number(0);
            if (!days || (!rows.isBytes(3) && days->contains(dayOf(rows.text(3)))))
                visit(punchOf(rows));
            if (row == last)
                break;
            next = row + 1;
            if (count % RowsBetweenLooks == 0 && end.hasExpired()) {
                isDone = false;
                break;
            }
        }
    }
}

std::optional<DoorFile::Scan> DoorFile::scan()
{
    const Version before = version();
    Scan found{{}, 0, before.lasting};
    auto day = found.days.end();
    read([&](const PunchRow &punch) {
        if (punch.reason) {
            ++found.unsendable;
            return;
        }
        if (day == found.days.end() || day->first != punch.day())
            day = found.days.try_emplace(punch.day().toByteArray()).first;
        day->second.add(punch);
    });
    if (version().present != before.present)
        return {};
    return found;
}

DoorFile::Version DoorFile::version()
{
    // This also rolls back what a crash has left, which changes the file.
    Version version{m_database.value(u"PRAGMA data_version"_s).toByteArray(), {}};
    if (Forwarding::identity(m_database.connection()) != m_identity)
        throw NotDone{u"Another database has replaced this one during the pass."_s};
    // Anything else would look like a table without rows.
    const QVariant hasRows = m_database.value(
        u"SELECT 1 FROM pragma_table_list WHERE schema = 'main' AND type = 'table' AND NOT wr "
        "AND name = 'RawDataDetails' COLLATE NOCASE AND NOT EXISTS (SELECT 1 FROM "
        "pragma_table_info('RawDataDetails') WHERE name = '_rowid_' COLLATE NOCASE)"_s);
    if (!hasRows.isValid())
        throw NotDone{u"RawDataDetails is not a table with row numbers named _rowid_."_s};
    constexpr std::time_t Settling = 1; // file systems count time in milliseconds
    bool isSettled = true;
    for (const char *suffix : {"", "-wal"}) {
        struct stat file {
        };
        const QByteArray path = trustedPath(QFile::encodeName(m_file)) + suffix;
        if (::lstat(path.constData(), &file) != 0 || file.st_size == 0)
            continue; // opening the database may make an empty log
        version.lasting += QStringLiteral(" %1 %2 %3 %4.%5")
                               .arg(file.st_dev)
                               .arg(file.st_ino)
                               .arg(file.st_size)
                               .arg(file.st_mtim.tv_sec)
                               .arg(file.st_mtim.tv_nsec)
                               .toLatin1();
        isSettled = isSettled && file.st_mtim.tv_sec + Settling < std::time(nullptr);
    }
    version.present += version.lasting;
    if (!isSettled)
        version.lasting.clear();
    return version;
}

} // namespace Tavrel
