#pragma once

#include <QString>

namespace Tavrel
{

/// Returns why this user lacks `rights` (R_OK, W_OK and X_OK of access(2), or F_OK) to the file at
/// `path`, and if permission is denied, also who owns the file and how to get access. Empty if the
/// user has them. Does not open the file.
QString whyInaccessible(const QString &path, int rights);

} // namespace Tavrel
