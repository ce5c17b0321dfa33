#pragma once

#include "tools/sitetool/NewDatabase.h"

#include <QByteArray>
#include <QStringList>

/// `sitetool import OLD.mdb [FILE]`: makes a database with all tables of an old one and prints a
/// table of what was taken over. Columns keep names and values; indices, keys, defaults and
/// relations stay behind. Returns 0; throws NotDone, with nothing made, when a single value cannot
/// be carried over, when the old file shows any sign of damage, or when it lacks what the clock
/// needs.
int importOld(const QStringList &arguments);

/// The work of it: fills the new database from the old file and prints the table to standard
/// output. It throws NotDone, or fails in the ways of JetFile: use it in a process of its own.
void takeOver(const QByteArray &oldFile, NewDatabase &database);
