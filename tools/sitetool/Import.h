#pragma once

#include <QStringList>

/// `sitetool import OLD.mdb [FILE]`: makes a database with all tables of an old one and prints a
/// table of what was taken over. Columns keep names and values; indices, keys, defaults and
/// relations stay behind. Returns 0; throws NotDone, with nothing made, when a single value cannot
/// be carried over, when the old file shows any sign of damage, or when it lacks what the clock
/// needs.
int importOld(const QStringList &arguments);
