#pragma once

#include "app/Version.h"
#include "platform/basics/FileDescriptor.h"

#include <QString>

#include <vector>

namespace Tavrel
{

/// The program as the system knows it.
namespace App
{

/// The folder of the program's executable; it ends in a separator only when it is "/". Needs the
/// toolkit's application object.
QString Path();

/// The user's claim to be running the program, which one process at a time has: a lock in the
/// user's run-time folder and then one in the settings folder, so that a start that knows only one
/// of them meets it too. The system takes it back when the process ends, however it ends.
///
/// Every start takes the locks in this order and stops at the first that is refused. So of two
/// starts at once one has what the other lacks, and lives.
class InstanceLock
{
public:
    /// Claims. Nothing of the toolkit need exist yet.
    InstanceLock();

    /// Whether another instance of this user was running already. Where no folder can hold the
    /// claim there is none.
    bool PrevInstance() const { return m_prevInstance; }

private:
    std::vector<FileDescriptor> m_locks;
    bool m_prevInstance = false;
};

} // namespace App

} // namespace Tavrel
