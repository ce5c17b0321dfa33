#pragma once

#include <QStringList>

namespace Tavrel
{

/// `sitetool new [FILE]`: makes an empty database with the tables that the clock uses. Returns 0;
/// throws NotDone, with nothing made, when it cannot.
int makeNew(const QStringList &arguments);

} // namespace Tavrel
