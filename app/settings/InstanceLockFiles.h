#pragma once

#include <QStringList>

namespace Tavrel
{

/// The files that a running clock of this user has locked, in the order in which it locks them: in
/// the user's run-time folder, if XDG_RUNTIME_DIR names one, and in the settings folder. Neither
/// the files nor the folders need to exist. App::InstanceLock locks them.
QStringList instanceLockFiles();

} // namespace Tavrel
