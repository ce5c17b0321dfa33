#pragma once

namespace Tavrel
{

/// The module that the program begins in.
namespace Initial
{

/// Starts the program, runs it to its end and returns its status. Command-line arguments have no
/// effect. While this user runs an instance already it returns 0 at once, silently.
int Main(int argc, char *argv[]);

} // namespace Initial

} // namespace Tavrel
