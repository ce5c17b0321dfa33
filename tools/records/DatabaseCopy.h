#pragma once

#include "platform/database/Statement.h"
#include "tools/records/NamelessFile.h"

#include <memory>

namespace Tavrel
{

/// Frees what SQLite calls a backup: an unfinished copying of one database into another, which it
/// undoes.
struct FinishBackup {
    void operator()(sqlite3_backup *backup) const { sqlite3_backup_finish(backup); }
};
using PageCopying = std::unique_ptr<sqlite3_backup, FinishBackup>;

/// A copy of a database, which has no name until it is published. It may be changed until then;
/// nothing of it is undone after a failure.
class DatabaseCopy
{
public:
    /// Copies the whole of `source` as it is at one moment; other programs may write it meanwhile.
    /// The copy needs no other files, whatever journal mode the source has, and only this user and,
    /// if the umask allows, the group may read it. Throws NotDone or Failure.
    DatabaseCopy(Connection &source, const QString &target);

    sqlite3 *database() const { return m_database.get(); }
    const NamelessFile &file() const { return m_file; }

    Statement statement(const QString &sql, const std::vector<QVariant> &parameters = {}) const
    {
        return Statement(m_database.get(), sql, parameters);
    }

    /// What is damaged; empty if nothing is.
    QString damage() const;

    /// Gives the copy the name `target`. Throws NotDone.
    void publish() { m_file.publish(); }

private:
    struct CloseDatabase {
        void operator()(sqlite3 *database) const { sqlite3_close_v2(database); }
    };

    void open();
    void copyPages(Connection &source);

    NamelessFile m_file;
    std::unique_ptr<sqlite3, CloseDatabase> m_database;
};

} // namespace Tavrel
