#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Work in a process of its own, for code that may crash, hang or only mutter on bad input.
namespace ChildProcess
{

/// Written to standard output by the work, any number of times, to show that it goes on. It must
/// at least once in half a minute.
inline constexpr char Progress = '\0';

struct Result {
    QByteArray output; ///< what the work wrote to standard output, without the marks of progress
    QString complaint; ///< why it failed, in sentences; empty when it did not
};

/// Runs the work to its end, without the environment's variables. It fails by throwing NotDone, by
/// writing anything at all to standard error, by ending in any way but returning, and by standing
/// still. It is ended by force when this process ends, and when the user asks for that, which is a
/// failure too. Throws NotDone when no process can be made.
Result run(const std::function<void()> &work);

} // namespace ChildProcess
