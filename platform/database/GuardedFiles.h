#pragma once

#include <QByteArray>

namespace Tavrel
{

/// The name, for sqlite3_open_v2, of a layer over SQLite's own access to files, which is registered
/// at the first call. The database lies in a folder that others may write, so nothing found there
/// is trusted:
///
/// - Paths are taken as they are: they must be absolute and lead through no link (see trustedPath).
/// - Nothing is waited on: pipes and devices are not opened. A journal, write-ahead log or index of
///   it must be a regular file without a second name. The failure is SQLITE_CANTOPEN.
/// - A journal may name another file, the super-journal of a transaction over several databases.
///   Connections make none, so it is neither looked for nor read, and the journal is rolled back.
/// - Only the journals of a database that was opened through the layer are ever deleted.
///
/// The second point holds for every file that SQLite opens in this process. SQLite's memory is
/// limited, too: a statement that asks for more than 64 MiB fails with SQLITE_NOMEM.
///
/// For one thread.
const char *guardedFiles();

/// The absolute path of the file that `path` leads to, whether or not it exists. Its folder is free
/// of links; a link in the place of the file is followed when it belongs to root or to this user,
/// and is otherwise what the path leads to. `path` itself when its folder does not exist.
QByteArray trustedPath(const QByteArray &path);

} // namespace Tavrel
