#pragma once

#include "tools/records/CommandLine.h"

namespace Tavrel
{

// Each returns the exit status, and throws Console::Mistake for arguments that it cannot read,
// NotDone if it refuses the change.

/// `punches [--badge BADGE] [--from DAY] [--to DAY]`: lists punches, of today unless told.
int listPunches(const CommandLine &line);

/// `punches add BADGE in|out TIME`: adds a punch to a batch of these commands' own, which it makes
/// if necessary. Refuses a badge that is blank or too long, a time in the future, and a punch that
/// is stored already.
int addPunch(const CommandLine &line);

/// `punches change ROW BADGE [in|out] [TIME]`: changes the type or the time of a punch, or both.
/// Refuses it if the row is not of that badge, and as addPunch does.
int changePunch(const CommandLine &line);

/// `punches remove ROW BADGE`: removes a punch and counts it out of its batch. Refuses it if the
/// row is not of that badge.
int removePunch(const CommandLine &line);

} // namespace Tavrel
