#pragma once

#include <QString>

namespace Tavrel
{

/// Why this user may not use what lies at `path` in the ways that `rights` names (R_OK, W_OK and
/// X_OK of access(2)): the reason in words; where the rights are lacking, also to whom it belongs
/// and how this user comes by them. Empty when the user may. Nothing is opened.
QString whyInaccessible(const QString &path, int rights);

} // namespace Tavrel
