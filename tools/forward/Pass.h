#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

/// `adopt [FILE]`: binds the database to the door that one logs in as. Returns the exit status, as
/// all commands; throws NotDone if the office refuses or cannot be reached.
int adopt(const CommandLine &line);

/// `run [FILE] [--withdraw] [--employees]`: one pass, after which the office has the punches of the
/// database, each as often as it is there, and no others of this door that are not withdrawn.
/// Repeating a pass, or ending it at any moment, changes nothing else. Throws NotDone
///
/// - with the status 75 if the office cannot be reached;
/// - if another pass is running, or if the office does not know the database;
/// - if more would be withdrawn than usual, unless --withdraw is given: prints these days, and
///   withdraws nothing;
/// - if the database changes more often than it can be read;
/// - if there are rows that cannot be sent, after sending all others.
///
/// With --employees it also makes the database's employees those of the office, in one transaction,
/// unless the office has none.
int run(const CommandLine &line);

} // namespace Tavrel
