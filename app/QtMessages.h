#pragma once

namespace Tavrel
{

/// What Qt says on the standard error, and the end of a program that it cannot show.
///
/// Where there is no display Qt says so in several messages and then aborts. With this in place
/// before the QApplication is made, a failure that Qt calls fatal ends the process with status 1,
/// otherwise as Host::End does, and with one line: the program's name, the messages kept, the
/// failure.
namespace QtMessages
{

/// Keeps messages back from now on.
void keep();

/// Passes on what was kept, and from now on each message as it comes.
void pass();

} // namespace QtMessages

} // namespace Tavrel
