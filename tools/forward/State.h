#pragma once

#include "platform/basics/FileDescriptor.h"
#include "tools/forward/DoorFile.h"

#include <QString>

namespace Tavrel
{

/// What the passes of a door remember. It may be lost at any time: the next pass then compares all
/// days with the office.
class State
{
public:
    explicit State(const QString &identity);

    /// Reads the state; without one it stays empty.
    void read();

    /// Locks the state for other passes as long as this object lives. Throws NotDone if another
    /// pass has locked it, or if its folder cannot be written.
    void lock();

    /// Writes the state, with what became of the pass, to replace the earlier one as a whole.
    /// Throws NotDone.
    void save(int status, const QString &sentence) const;

    Days confirmed;        ///< the days that the office has
    QByteArray version;    ///< of the file when the office had all of it; empty if it has not
    qint64 unsendable = 0; ///< the number of rows that cannot be sent
    QString lastComplete;  ///< the time at which the office last had all; empty if it never had

private:
    QString m_path;
    FileDescriptor m_lock;
};

/// The lines that describe days in a state, and of which the office has a digest.
QByteArray linesOf(const Days &days);

} // namespace Tavrel
