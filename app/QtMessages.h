#pragma once

namespace Tavrel
{

/// Qt's messages on standard error, and the end of a program that has no display.
///
/// Without a display Qt prints several messages and then aborts. If keep() was called before the
/// QApplication was created, a fatal Qt message instead ends the process at once, with status 1,
/// after printing one line: the name of the program, the messages kept back, and the fatal one.
namespace QtMessages
{

/// Keeps messages back from now on.
void keep();

/// Prints the messages kept back, and from now on each message as it comes.
void pass();

} // namespace QtMessages

} // namespace Tavrel
