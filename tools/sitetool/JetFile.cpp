#include "tools/sitetool/JetFile.h"

#include "tools/sitetool/NotDone.h"

#include <QFile>
#include <QtEndian>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

// The engine's catalogue of tables, forms and whatever else the file holds.
constexpr quint32 CataloguePage = 2;
constexpr qint16 LocalTable = 1;
constexpr qint16 LinkedTable = 6;
constexpr qint16 LinkedOdbcTable = 4;
constexpr quint32 SystemFlag = 0x80000002;

// The two highest bits of a row's offset on its page.
constexpr quint16 MovedOrDeletedFlag = 0x4000; // nothing here but, perhaps, where the row now is
constexpr quint16 OffsetMask = 0x1fff;

[[noreturn]] void failDamaged(const QString &what)
{
    throw NotDone{QStringLiteral("The file is damaged: %1.").arg(what)};
}

/// A stored whole number. Bytes that are not there are damage.
template <typename Number> Number numberAt(QByteArrayView bytes, qsizetype at)
{
    if (at < 0 || at + static_cast<qsizetype>(sizeof(Number)) > bytes.size())
        failDamaged(QStringLiteral("a part ends too early"));
    return qFromLittleEndian<Number>(bytes.data() + at);
}

QByteArrayView part(QByteArrayView bytes, qsizetype at, qsizetype size)
{
    if (at < 0 || size < 0 || at + size > bytes.size())
        failDamaged(QStringLiteral("a part ends too early"));
    return bytes.sliced(at, size);
}

QByteArrayView page(const unsigned char *buffer, const MdbHandle &handle)
{
    return {buffer, handle.fmt->pg_size};
}

/// Whether the numbers are 0, 1, 2 ... in any order; with `gaps`, only whether each is there once.
bool areConsecutive(std::vector<int> numbers, bool gaps)
{
    std::sort(numbers.begin(), numbers.end());
    const bool isUnique = std::adjacent_find(numbers.begin(), numbers.end()) == numbers.end();
    return isUnique &&
           (gaps || numbers.empty() || numbers.back() == static_cast<int>(numbers.size()) - 1);
}

/// Whether the fixed columns lie one behind another; with `gaps`, only whether none overlap.
bool areAdjoining(std::vector<JetColumn> columns, bool gaps)
{
    std::sort(columns.begin(), columns.end(), [](const JetColumn &a, const JetColumn &b) {
        return std::pair(a.place, a.size) < std::pair(b.place, b.size);
    });
    int end = 0;
    for (const JetColumn &column : columns) {
        if (!column.isFixed)
            continue;
        if (column.place < end || (!gaps && column.place != end))
            return false;
        end = column.place + column.size;
    }
    return true;
}

/// What the fixed columns take of a row that was written with `columnCount` columns.
int fixedSize(const JetTable &table, int columnCount)
{
    int size = 0;
    for (const JetColumn &column : table.columns) {
        if (column.isFixed && column.number < columnCount)
            size += column.size;
    }
    return size;
}

bool isName(const QString &name)
{
    constexpr qsizetype LongestName = 64;
    return !name.isEmpty() && name.size() <= LongestName &&
           std::all_of(name.begin(), name.end(), [](QChar character) {
               return character.category() != QChar::Other_Control;
           });
}

/// Whether the parts of a column's definition fit each other.
bool isSound(const JetColumn &column)
{
    if (!isName(column.name))
        return false;
    if (!column.type)
        return true;
    switch (column.typeNumber) {
    case MDB_BOOL:
        return column.isFixed;
    case MDB_TEXT:
    case MDB_BINARY:
        return column.size > 0;
    case MDB_MEMO:
    case MDB_OLE:
        return !column.isFixed;
    default:
        return !column.isFixed || column.size == column.type->size;
    }
}

} // namespace

JetFile::JetFile(const QByteArray &path, std::function<void()> progress)
    : m_progress(std::move(progress))
{
    constexpr qint64 HeadSize = 24;
    constexpr qsizetype VersionAt = 20;
    constexpr qint64 Jet3PageSize = 2048;
    constexpr qint64 PageSize = 4096;

    QFile file(QFile::decodeName(path));
    struct stat status = {};
    // Anything else that can be opened might keep the reader waiting.
    if (::stat(path.constData(), &status) == 0 && !S_ISREG(status.st_mode))
        throw NotDone{QStringLiteral("It is no file.")};
    if (!file.open(QIODevice::ReadOnly))
        throw NotDone{QStringLiteral("It cannot be read: %1.").arg(file.errorString())};
    const QByteArray head = file.read(HeadSize);
    const QByteArray mark = head.mid(4, 15);
    if (mark != "Standard Jet DB" && mark != "Standard ACE DB")
        throw NotDone{QStringLiteral("It is not an Access database.")};
    const qint64 pageSize = head[VersionAt] == MDB_VER_JET3 ? Jet3PageSize : PageSize;
    if (file.size() % pageSize != 0)
        failDamaged(QStringLiteral("it does not end with a whole page, so its end is missing"));
    m_pages = static_cast<quint32>(file.size() / pageSize);

    m_handle.reset(mdb_open(path.constData(), MDB_NOFLAGS));
    if (!m_handle)
        failDamaged(QStringLiteral("its first page cannot be used"));
    if (m_handle->f->db_key != 0)
        throw NotDone{QStringLiteral("It is encrypted. Take the encryption or the password away "
                                     "with the program that set it, and import it then.")};
    m_text = std::make_unique<JetText>(isJet3() ? m_handle->f->code_page : 0);
}

std::vector<JetTable> JetFile::tables()
{
    const JetTable catalogue = tableAt(CataloguePage, QStringLiteral("MSysObjects"));
    const auto columnNamed = [&](const char *name) {
        const auto found = std::find_if(
            catalogue.columns.begin(), catalogue.columns.end(),
            [&](const JetColumn &column) { return column.name == QLatin1String(name); });
        if (found == catalogue.columns.end())
            failDamaged(QStringLiteral("its catalogue has no column %1").arg(QLatin1String(name)));
        return static_cast<std::size_t>(found - catalogue.columns.begin());
    };
    const auto id = columnNamed("Id");
    const auto type = columnNamed("Type");
    const auto flags = columnNamed("Flags");
    const auto name = columnNamed("Name");

    struct Object {
        quint32 page;
        qint16 type;
        quint32 flags;
        QString name;
    };
    std::vector<Object> objects;
    const auto take = [&](const JetRow &row) {
        objects.push_back({numberAt<quint32>(row[id].value_or(QByteArray()), 0),
                           numberAt<qint16>(row[type].value_or(QByteArray()), 0),
                           numberAt<quint32>(row[flags].value_or(QByteArray()), 0),
                           m_text->decode(row[name].value_or(QByteArray()))});
    };
    readRows(catalogue, take);
    if (objects.size() != catalogue.rowCount)
        failDamaged(QStringLiteral("its catalogue should name %1 objects and names %2")
                        .arg(catalogue.rowCount)
                        .arg(objects.size()));

    std::vector<JetTable> tables;
    std::set<quint32> pages;
    for (const Object &object : objects) {
        // Objects of other types have numbers far above all pages.
        if (object.type == LinkedTable || object.type == LinkedOdbcTable)
            m_linkedTables.push_back(object.name);
        if ((object.type == LocalTable) != isDefinition(object.page) ||
            (object.type == LocalTable && !pages.insert(object.page).second))
            failDamaged(
                QStringLiteral("its catalogue does not fit the object %1").arg(object.name));
        const bool isEngines = (object.flags & SystemFlag) != 0 &&
                               object.name.startsWith(u"MSys", Qt::CaseInsensitive);
        if (object.type == LocalTable && !isEngines)
            tables.push_back(tableAt(object.page, object.name));
    }
    return tables;
}

int JetFile::shortAt(QByteArrayView bytes, qsizetype at) const
{
    return isJet3() ? numberAt<quint8>(bytes, at) : numberAt<quint16>(bytes, at);
}

bool JetFile::isDefinition(quint32 page)
{
    return page < m_pages && mdb_read_pg(m_handle.get(), page) != 0 &&
           m_handle->pg_buf[0] == MDB_PAGE_TABLE;
}

QByteArray JetFile::definitionAt(quint32 page)
{
    // Each page of a definition but the first repeats this head.
    constexpr qsizetype HeadSize = 8;
    constexpr qsizetype NextPageAt = 4;

    QByteArray definition;
    for (quint32 read = 0; page != 0; ++read) {
        if (read == m_pages || !isDefinition(page))
            failDamaged(QStringLiteral("a table's definition cannot be read"));
        const QByteArrayView bytes = ::page(m_handle->pg_buf, *m_handle);
        definition.append(bytes.sliced(read == 0 ? 0 : HeadSize));
        page = numberAt<quint32>(bytes, NextPageAt);
    }
    return definition;
}

JetTable JetFile::tableAt(quint32 page, const QString &name)
{
    const MdbFormatConstants &format = *m_handle->fmt;
    const QByteArray definition = definitionAt(page);
    const int columnCount = numberAt<quint16>(definition, format.tab_num_cols_offset);
    const int mostColumns = numberAt<quint16>(definition, format.tab_num_cols_offset - 4);

    JetTable table;
    table.name = name;
    table.page = page;
    table.rowCount = numberAt<quint32>(definition, format.tab_num_rows_offset);
    table.variableColumns = numberAt<quint16>(definition, format.tab_num_cols_offset - 2);
    table.hasDeletedColumns = columnCount < mostColumns;
    table.columns.resize(static_cast<std::size_t>(columnCount));
    readColumns(table, definition);

    std::vector<int> numbers;
    std::vector<int> variable;
    bool isWhole = isName(name) && columnCount > 0 && columnCount <= mostColumns;
    for (const JetColumn &column : table.columns) {
        numbers.push_back(column.number);
        if (!column.isFixed)
            variable.push_back(column.place);
        isWhole = isWhole && isSound(column) && column.number < mostColumns &&
                  (column.isFixed || column.place < table.variableColumns);
    }
    const bool gaps = table.hasDeletedColumns;
    if (!isWhole || !areConsecutive(numbers, gaps) || !areConsecutive(variable, gaps) ||
        (!gaps && static_cast<int>(variable.size()) != table.variableColumns) ||
        !areAdjoining(table.columns, gaps))
        failDamaged(QStringLiteral("the definition of table %1 does not fit together").arg(name));
    return table;
}

/// The entries of all columns come first, then all their names, both in the same order.
void JetFile::readColumns(JetTable &table, const QByteArray &definition)
{
    constexpr int FixedFlag = 1;
    constexpr qsizetype Jet3CodePageAt = 11;

    const MdbFormatConstants &format = *m_handle->fmt;
    qsizetype entry =
        format.tab_cols_start_offset +
        static_cast<qsizetype>(numberAt<quint32>(definition, format.tab_num_ridxs_offset)) *
            format.tab_ridx_entry_size;
    qsizetype name =
        entry + static_cast<qsizetype>(table.columns.size()) * format.tab_col_entry_size;
    for (JetColumn &column : table.columns) {
        column.typeNumber = numberAt<quint8>(definition, entry);
        column.type = jetType(column.typeNumber);
        column.number = numberAt<quint16>(definition, entry + format.col_num_offset);
        column.isFixed =
            (numberAt<quint8>(definition, entry + format.col_flags_offset) & FixedFlag) != 0;
        column.place =
            numberAt<quint16>(definition, entry + (column.isFixed ? format.tab_col_offset_fixed
                                                                  : format.tab_col_offset_var));
        column.size = numberAt<quint16>(definition, entry + format.col_size_offset);
        if (column.typeNumber == MDB_BOOL)
            column.place = column.size = 0; // its value lies in the null mask
        if (isJet3() && (column.typeNumber == MDB_TEXT || column.typeNumber == MDB_MEMO)) {
            const auto codePage = numberAt<quint16>(definition, entry + Jet3CodePageAt);
            if (codePage != 0 && codePage != m_handle->f->code_page)
                throw NotDone{QStringLiteral("Table %1 has texts in code page %2, the file says "
                                             "%3.")
                                  .arg(table.name)
                                  .arg(codePage)
                                  .arg(m_handle->f->code_page)};
        }
        entry += format.tab_col_entry_size;

        const int length = shortAt(definition, name);
        column.name = m_text->decode(part(definition, name + shortSize(), length));
        name += shortSize() + length;
    }
}

void JetFile::readRows(const JetTable &table, const std::function<void(const JetRow &)> &take)
{
    MdbCatalogEntry entry = {};
    entry.mdb = m_handle.get();
    entry.object_type = MDB_TABLE;
    entry.table_pg = table.page;
    const std::unique_ptr<MdbTableDef, decltype(&mdb_free_tabledef)> walk(mdb_read_table(&entry),
                                                                          mdb_free_tabledef);
    if (!walk || !walk->usage_map) // libmdb reads the map unchecked
        failDamaged(QStringLiteral("the definition of table %1 cannot be read").arg(table.name));

    const int rowsAt = m_handle->fmt->row_count_offset;
    while (mdb_read_next_dpg(walk.get()) != 0) {
        m_progress();
        const QByteArrayView bytes = page(m_handle->pg_buf, *m_handle);
        const int rows = numberAt<quint16>(bytes, rowsAt);
        for (int row = 0; row < rows; ++row) {
            int start = 0;
            std::size_t size = 0;
            if (mdb_find_row(m_handle.get(), row, &start, &size) != 0)
                failDamaged(QStringLiteral("a page of table %1 cannot be read").arg(table.name));
            if ((start & MovedOrDeletedFlag) == 0)
                take(readRow(table, part(bytes, start & OffsetMask, static_cast<qsizetype>(size))));
        }
    }
}

/// A row is: the number of columns it was written with, the fixed columns, the variable columns,
/// where each of these begins, and a bit a column that is clear for Null.
JetRow JetFile::readRow(const JetTable &table, QByteArrayView row) const
{
    constexpr int BitsPerByte = 8;

    const int columnCount = shortAt(row, 0);
    const qsizetype nullMask = row.size() - (columnCount + BitsPerByte - 1) / BitsPerByte;
    const std::vector<int> offsets = table.variableColumns > 0
                                         ? variableOffsets(row, nullMask)
                                         : std::vector{static_cast<int>(nullMask)};
    const auto requireSound = [&](bool isSound) {
        if (!isSound)
            failDamaged(QStringLiteral("a row of table %1 does not fit together").arg(table.name));
    };
    const int fixedEnd = offsets.front();
    const int wantedFixedEnd = shortSize() + fixedSize(table, columnCount);
    const auto variableColumns = static_cast<int>(offsets.size()) - 1;
    requireSound(columnCount > 0 && std::is_sorted(offsets.begin(), offsets.end()));
    requireSound(table.hasDeletedColumns
                     ? fixedEnd >= wantedFixedEnd
                     : fixedEnd == wantedFixedEnd && variableColumns <= table.variableColumns);

    JetRow fields;
    for (const JetColumn &column : table.columns) {
        // A row written before the column was made holds nothing of it.
        const bool isNull = column.number >= columnCount ||
                            (numberAt<quint8>(row, nullMask + column.number / BitsPerByte) &
                             1 << column.number % BitsPerByte) == 0;
        QByteArrayView bytes;
        if (column.isFixed && column.number < columnCount) {
            bytes = part(row.first(fixedEnd), shortSize() + column.place, column.size);
        } else if (!column.isFixed && column.place < variableColumns) {
            const int begin = offsets[static_cast<std::size_t>(column.place)];
            const int end = offsets[static_cast<std::size_t>(column.place) + 1];
            bytes = part(row, begin, end - begin);
            requireSound(!isNull || bytes.isEmpty());
        } else {
            requireSound(isNull);
        }
        fields.emplace_back();
        if (!isNull)
            fields.back() = bytes.toByteArray();
    }
    return fields;
}

/// Where each variable column begins in the row, and last where they end. They are stored from
/// back to front, before the null mask and their own count.
std::vector<int> JetFile::variableOffsets(QByteArrayView row, qsizetype nullMask) const
{
    // In Jet 3 an offset has only its low byte. For each further 256 bytes of the row a jump says
    // from which column on they are to be added; the last may be left over.
    constexpr int JumpSize = 256;

    const qsizetype size = shortSize();
    const qsizetype countAt = nullMask - size;
    const int count = shortAt(row, countAt);
    qsizetype jumps = isJet3() ? (row.size() - 1) / JumpSize : 0;
    const qsizetype first = countAt - jumps - size;
    const qsizetype last = first - count * size;
    if (last / JumpSize < jumps)
        --jumps;

    std::vector<int> offsets;
    int jumped = 0;
    for (int i = 0; i <= count; ++i) {
        while (jumped < jumps && numberAt<quint8>(row, countAt - 1 - jumped) == i)
            ++jumped;
        offsets.push_back(shortAt(row, first - i * size) + jumped * JumpSize);
    }
    // A row that has become shorter in its place may be filled up.
    const QByteArrayView filling = part(row, offsets.back(), last - offsets.back());
    if (filling.count('\0') != filling.size())
        failDamaged(QStringLiteral("a row holds more than its columns"));
    return offsets;
}

QByteArray JetFile::longValue(const QByteArray &reference)
{
    constexpr qsizetype ReferenceSize = 12;
    constexpr quint32 LengthMask = 0x3fffffff;
    constexpr quint32 InRow = 0x80000000;
    constexpr quint32 OnOnePage = 0x40000000;
    constexpr qsizetype LinkSize = 4;

    const auto lengthAndKind = numberAt<quint32>(reference, 0);
    const auto length = static_cast<qsizetype>(lengthAndKind & LengthMask);
    const quint32 kind = lengthAndKind & ~LengthMask;
    auto next = numberAt<quint32>(reference, 4);
    QByteArray value;
    if (kind == InRow) {
        value = reference.mid(ReferenceSize);
        next = 0;
    }
    // Page and row of the next part; in a chain each part begins with those of the one behind it.
    while (next != 0 && value.size() <= length) {
        m_progress();
        void *buffer = nullptr;
        int start = 0;
        std::size_t size = 0;
        if (mdb_find_pg_row(m_handle.get(), static_cast<int>(next), &buffer, &start, &size) != 0)
            failDamaged(QStringLiteral("a part of a memo or object cannot be read"));
        const QByteArrayView bytes = page(static_cast<unsigned char *>(buffer), *m_handle);
        if (!bytes.sliced(4).startsWith("LVAL") || !m_longValuesRead.insert(next).second)
            failDamaged(QStringLiteral("a part of a memo or object belongs to something else"));
        const QByteArrayView stored = part(bytes, start & OffsetMask, static_cast<qsizetype>(size));
        next = kind == OnOnePage ? 0 : numberAt<quint32>(stored, 0);
        value += stored.sliced(kind == OnOnePage ? 0 : LinkSize);
    }
    if (value.size() != length || kind == (InRow | OnOnePage) ||
        (kind != InRow && reference.size() != ReferenceSize))
        failDamaged(QStringLiteral("a memo or object is not as long as it should be"));
    return value;
}
