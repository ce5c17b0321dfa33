#pragma once

#include "platform/host/Host.h"
#include "store/DataEnvironment.h"

#include <QString>

namespace Tavrel
{

/// Looks up the employee's name for a badge number: that of the first row found, or "Unknown" if
/// there is none. `i_sBadgeNumber`: whole, of any length.
///
/// Never throws. A failure, including Failure::InvalidUseOfNull for a Null name, shows a message
/// box with the description as text and the number as title, and leaves `o_sEmployeeName`
/// unchanged.
void GetEmployeeName(Host &host, DataEnvironment &environment, const QString &i_sBadgeNumber,
                     QString &o_sEmployeeName);

} // namespace Tavrel
