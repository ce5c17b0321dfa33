#pragma once

#include <QByteArray>

namespace Tavrel
{

/// Returns the name, for sqlite3_open_v2, of a layer over SQLite's own file access, which the first
/// call registers. The database is in a folder that others may write, so nothing found there is
/// trusted:
///
/// - Paths are taken as they are: they must be absolute and lead through no link (see trustedPath).
/// - Opening never blocks, and never opens a pipe or a device. A journal, a write-ahead log or its
///   index must be a regular file with a single name. The failure is SQLITE_CANTOPEN.
/// - A journal may name another file, the super-journal of a transaction over several databases.
///   Connections never create one, so it is neither looked up nor read, and the journal is rolled
///   back.
/// - /proc/self/fd/N, otherwise a link, is the file that this process has open as N. It needs the
///   journal mode OFF.
/// - Only the journals of a database opened through this layer are ever deleted.
///
/// The rule about opening holds for every file that SQLite opens in this process. SQLite's memory
/// is limited as well: a statement that needs more than 64 MiB fails with SQLITE_NOMEM.
///
/// Not thread-safe.
const char *guardedFiles();

/// Returns the absolute path of the file that `path` leads to, whether or not it exists, in a
/// folder without links. A link at the end is followed only if root or this user owns it; otherwise
/// the result is the path of the link. Returns `path` if its folder does not exist.
QByteArray trustedPath(const QByteArray &path);

} // namespace Tavrel
