#pragma once

/// The module that the program begins in.
namespace Initial
{

/// Starts the program and runs it to its end. Arguments after the first change nothing. Another
/// instance of this user ends at once, silently, with status 0.
int Main(int argc, char *argv[]);

} // namespace Initial
