#pragma once

#include "platform/host/Host.h"
#include "store/DataEnvironment.h"

#include <QDateTime>
#include <QString>

#include <cstdint>

namespace Tavrel
{

/// Stores one punch: updates the batch row in RawData, then adds the punch's row to RawDataDetails
/// under the batch's ID. The batch is the first row marked "MSR"; if there is none it is created
/// with the highest ID plus 1, or with 0 in an empty table.
///
/// `i_sBadgeNumber`: of any length, stored with its first 50 characters. `i_dtPunchTime`: the
/// moment of the punch, local time. `i_iEventStatus`: 1 for "Clock In", 0 for "Clock Out".
///
/// Never throws. A failure ends it and shows a message box with the description as text and the
/// number as title. If it fails before the batch row's Update, nothing has been written; after
/// that, the batch counts a punch that has no row. A batch number that does not fit in 16 bits is
/// Failure::Overflow, with nothing written.
void SavePunch(Host &host, DataEnvironment &environment, const QString &i_sBadgeNumber,
               const QDateTime &i_dtPunchTime, std::int16_t i_iEventStatus);

} // namespace Tavrel
