#pragma once

#include "store/DataEnvironment.h"
#include "tests/support/TemporaryHome.h"

#include <sqlite3.h>

using namespace Tavrel;

/// A time database with the sample employees, accessed without the code under test.
class TestDatabase
{
public:
    explicit TestDatabase(const QByteArray &sql = {}) { run(sampleSchema() + sql); }

    QString folder() const { return m_folder.path(); }
    QString file() const { return m_folder.filePath(QStringLiteral("Orvanta.mdb")); }
    QString connectionString() const { return ::connectionString(folder()); }

    static QByteArray sampleSchema()
    {
        return TemporaryHome::read(":/store/schema.sql") + TemporaryHome::read(SAMPLE_PEOPLE);
    }

    /// Runs statements and returns their rows, one line for each, with columns separated by "|".
    QString run(const QByteArray &sql) const
    {
        sqlite3 *database = nullptr;
        QString rows;
        char *error = nullptr;
        sqlite3_open(file().toUtf8().constData(), &database);
        const auto addRow = [](void *text, int count, char **values, char **) {
            QStringList columns;
            for (int i = 0; i < count; ++i)
                columns += values[i] ? QString::fromUtf8(values[i]) : QStringLiteral("NULL");
            *static_cast<QString *>(text) += columns.join(u'|') + u'\n';
            return 0;
        };
        if (sqlite3_exec(database, sql.constData(), addRow, &rows, &error) != SQLITE_OK)
            qFatal("%s", error);
        sqlite3_close(database);
        return rows.trimmed();
    }

private:
    QTemporaryDir m_folder{temporaryFolder()};
};
