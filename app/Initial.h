#pragma once

#include <QString>

/// The module that the program begins in.
namespace Initial
{

/// The connection string of the time database: always the file Orvanta.mdb in `programFolder`,
/// which goes into the text as it is.
QString connectionString(const QString &programFolder);

/// Starts the program and runs it to its end. Arguments after the first change nothing. Another
/// instance of this user ends at once, silently, with status 0.
int Main(int argc, char *argv[]);

} // namespace Initial
