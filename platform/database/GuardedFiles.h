#pragma once

namespace Tavrel
{

/// The name, for sqlite3_open_v2, of a layer over SQLite's own access to files, which is registered
/// at the first call. The database lies in a folder that others may write, so nothing found there
/// is trusted:
///
/// - Only a regular file is opened as a database or as a journal, and none is waited on. A journal
///   that has a second name is not opened. The failure is SQLITE_CANTOPEN.
/// - A journal may name another file, the super-journal of a transaction over several databases.
///   Connections make none, so it is neither looked for nor read, and the journal is rolled back.
/// - Only the journals of a database that was opened through the layer are ever deleted.
///
/// The first point holds for every file that SQLite opens in this process. SQLite's memory is
/// limited, too: a statement that asks for more than 64 MiB fails with SQLITE_NOMEM.
///
/// For one thread.
const char *guardedFiles();

} // namespace Tavrel
