#pragma once

#include <QStringList>

namespace Tavrel
{

/// `sitetool check [FILE]`: says what the clock will meet, a line a finding, and whether it runs
/// and would store a swipe as it is. Returns 0 when it would and 1 when not. It changes nothing: no
/// file is made or written, no lock is left, and no serial line is opened, for the first opening of
/// a line raises DTR and may start or wake the reader behind it. So what only an opening shows is
/// left to the clock: whether a line can be set to the wanted rate and parity.
int check(const QStringList &arguments);

} // namespace Tavrel
