#pragma once

#include <QString>

namespace Tavrel
{

/// Thrown where a command cannot do what it was asked for: why, in words for the site's owner, one
/// sentence without the program's name.
struct NotDone {
    QString why;
};

} // namespace Tavrel
