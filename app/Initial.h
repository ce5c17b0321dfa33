#pragma once

namespace Tavrel
{

/// Where the program starts.
namespace Initial
{

/// Runs the program and returns its exit status. Command-line arguments have no effect. If this
/// user already has an instance running it returns 0 at once, silently.
int Main(int argc, char *argv[]);

} // namespace Initial

} // namespace Tavrel
