#pragma once

#include <QString>

namespace Tavrel
{

/// Thrown if a command fails. `why` is one sentence for the site's owner, without the program's
/// name.
struct NotDone {
    QString why;
};

} // namespace Tavrel
