#pragma once

#include "platform/host/Host.h"
#include "store/DataEnvironment.h"

#include <QString>

namespace Tavrel
{

/// Turns a badge number into the employee's name: that of the first row found, or "Unknown" when
/// there is none. `i_sBadgeNumber`: whole, of any length.
///
/// Always returns normally. A failure, a Null name included, shows a message box with the
/// description as text and the number as title, and leaves `o_sEmployeeName` as it was.
void GetEmployeeName(Host &host, DataEnvironment &environment, const QString &i_sBadgeNumber,
                     QString &o_sEmployeeName);

} // namespace Tavrel
