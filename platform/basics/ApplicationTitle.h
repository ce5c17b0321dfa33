#pragma once

#include <QString>

/// The title of the application: of its message boxes, its settings folder and its settings. It is
/// also the name under which the desktop knows the program.
inline const QString ApplicationTitle = QStringLiteral("Tavrel");
