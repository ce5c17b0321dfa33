#pragma once

#include "tools/sitetool/JetText.h"
#include "tools/sitetool/JetValues.h"

#include <QByteArray>
#include <QString>

#include <glib.h> // the next header would take it for C
#include <mdbtools.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

struct JetColumn {
    QString name;
    const JetType *type = nullptr; ///< null for one that cannot be carried over
    int typeNumber = 0;
    int number = 0;       ///< counts deleted columns too
    bool isFixed = false; ///< lies at the same place in each row
    int place = 0;        ///< in the fixed part, or which of the variable columns it is
    int size = 0;         ///< of a fixed column, in bytes
};

struct JetTable {
    QString name;
    quint32 page = 0;        ///< of its definition
    quint32 rowCount = 0;    ///< as the file itself keeps it
    int variableColumns = 0; ///< counts deleted columns too
    bool hasDeletedColumns = false;
    std::vector<JetColumn> columns;
};

/// A row's bytes, one field per column; none for Null, and for a yes-or-no that is no.
using JetRow = std::vector<std::optional<QByteArray>>;

/// A database of Microsoft Jet 3 or later, opened for reading only. libmdb finds the pages, the
/// pages of a table and the rows on a page. What lies inside a definition or a row is read here,
/// because libmdb passes over what does not fit together, cuts long values and rounds times
/// wrongly; here each part has to fit the others.
///
/// The constructor and every function throw NotDone when the file is not as it has to be. On
/// damage libmdb may also write to standard error, crash, or loop for ever: use it in a process of
/// its own.
class JetFile
{
public:
    /// `progress` is called now and then while rows and long values are read, once a page.
    JetFile(const QByteArray &path, std::function<void()> progress);

    /// All tables but the engine's own, in the order of the catalogue. Tables that are mere links
    /// into another file are in linkedTables() afterwards.
    std::vector<JetTable> tables();
    const std::vector<QString> &linkedTables() const { return m_linkedTables; }

    const JetText &text() const { return *m_text; }

    /// Calls `take` with each row, in the order in which they are stored.
    void readRows(const JetTable &table, const std::function<void(const JetRow &)> &take);

    /// The whole of a memo or object, which a row only refers to. Each can be read once.
    QByteArray longValue(const QByteArray &reference);

private:
    struct CloseFile {
        void operator()(MdbHandle *handle) const { mdb_close(handle); }
    };

    bool isJet3() const { return m_handle->f->jet_version == MDB_VER_JET3; }
    /// Counts and offsets in rows, and lengths of names, have one byte in Jet 3 and two later.
    int shortSize() const { return isJet3() ? 1 : 2; }
    int shortAt(QByteArrayView bytes, qsizetype at) const;

    bool isDefinition(quint32 page);
    JetTable tableAt(quint32 page, const QString &name);
    QByteArray definitionAt(quint32 page);
    void readColumns(JetTable &table, const QByteArray &definition);
    JetRow readRow(const JetTable &table, QByteArrayView row) const;
    std::vector<int> variableOffsets(QByteArrayView row, qsizetype nullMask) const;

    std::function<void()> m_progress;
    std::unique_ptr<MdbHandle, CloseFile> m_handle;
    std::unique_ptr<JetText> m_text;
    std::vector<QString> m_linkedTables;
    std::set<quint32> m_longValuesRead;
    quint32 m_pages = 0;
};
