#pragma once

#include "tools/records/Period.h"
#include "tools/records/TimeDatabase.h"

#include <QString>

#include <optional>
#include <vector>

namespace Tavrel
{

/// A stored punch, and the one that it makes a pair with.
struct Punch {
    enum Type { ClockOut, ClockIn, OtherType };

    qint64 row = 0;
    Type type = OtherType;
    QString typeText; ///< as shown; an other type as it is stored
    QString time;     ///< as it is stored
    bool isInPeriod = false;

    bool isReadable = false; ///< whether `time` is a time; if not, the rest is not set
    bool isRepeated = false; ///< within the hour that comes twice when the clocks go back
    qint64 wallTime = 0;     ///< in seconds, as if it were UTC
    qint64 moment = 0;       ///< when it really was, in seconds since 1970 UTC
    bool isOpen = false;     ///< a Clock In, and the last punch of the badge
    const Punch *partner = nullptr;
};

/// The punches of one badge in order, those without a readable time at the end.
struct BadgePunches {
    QString badge;
    QString name;
    std::vector<Punch> punches;
};

/// The punches of each badge that has some in `period`, or only of `badge`, sorted by name and
/// badge. Before and after them are those next to the period, if they may belong to a pair.
///
/// A Clock In makes a pair with the next punch of the badge if that is a Clock Out. Punches are in
/// order of time, and of row at equal times. In the hour that comes twice they are in order of row:
/// where the time goes back, the second pass begins. The empty badge belongs to several people, and
/// has no pairs. A punch without a readable time has none either, and is in every period.
///
/// Throws NotDone if they are more than 500,000.
std::vector<BadgePunches> punchesIn(TimeDatabase &database, const Period &period,
                                    const std::optional<QString> &badge = {});

/// The punches of the last day of each badge, in the same way.
std::vector<BadgePunches> lastPunches(TimeDatabase &database);

bool isInFuture(const Punch &punch);

/// Whether its owner is in: not if the Clock In is more than 16 hours ago, when the Clock Out was
/// likely forgotten.
bool isStillIn(const Punch &punch);

/// What a list remarks on a punch: for example that it is unpaired.
QStringList remarksOn(const Punch &punch);

inline constexpr QLatin1StringView UnknownName("Unknown");

/// The employee's name, or UnknownName.
QString nameOf(TimeDatabase &database, const QString &badge);

/// How a stored EventStatus is shown: 1 is Clock In, 0 is Clock Out.
QString typeText(const QString &status);

} // namespace Tavrel
