#pragma once

#include <QString>

namespace Tavrel
{

/// Thrown if a command fails. `why` is one sentence for the site's owner, without the program's
/// name.
struct NotDone {
    QString why;
    int status = 1; ///< the exit status
};

} // namespace Tavrel
