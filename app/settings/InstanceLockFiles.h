#pragma once

#include <QStringList>

namespace Tavrel
{

/// The files that a running clock of this user holds locks on, in the order in which it takes them:
/// in the user's run-time folder, where the system names one, and in the settings folder. Neither
/// the files nor the folders need exist.
QStringList instanceLockFiles();

} // namespace Tavrel
