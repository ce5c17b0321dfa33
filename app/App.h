#pragma once

#include "app/Version.h"
#include "platform/basics/FileDescriptor.h"

#include <QString>

#include <vector>

namespace Tavrel
{

/// The running program: its version, its folder and the lock against a second instance.
namespace App
{

/// The folder of the executable, without a separator at its end unless it is "/". Needs the
/// QApplication.
QString Path();

/// Keeps each user to one instance of the program: a lock in the user's run-time folder and then
/// one in the settings folder, so that an instance that knows only one of the folders is detected,
/// too. The kernel releases the locks when the process ends, however it ends.
///
/// Every instance takes the locks in this order and stops at the first one refused. So of two that
/// start at the same time, one gets the lock that the other lacks, and runs.
class InstanceLock
{
public:
    /// Takes the locks. Needs no QApplication.
    InstanceLock();

    /// Whether this user already had an instance running. False if no folder can hold a lock.
    bool PrevInstance() const { return m_prevInstance; }

private:
    std::vector<FileDescriptor> m_locks;
    bool m_prevInstance = false;
};

} // namespace App

} // namespace Tavrel
