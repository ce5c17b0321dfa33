/// A damaged Jet file is refused, or imported with as many rows as the file itself counts.

#include "tools/sitetool/Import.h"

#include "fuzz/Answer.h"
#include "fuzz/Damage.h"
#include "tests/support/TemporaryHome.h"
#include "tools/sitetool/JetFile.h"
#include "tools/sitetool/NotDone.h"

#include <QProcess>
#include <QtEndian>

static QByteArray unpacked(const QString &path)
{
    QProcess gzip;
    gzip.start(QStringLiteral("gzip"), {QStringLiteral("-dc"), path});
    require(gzip.waitForFinished() && gzip.exitCode() == 0, "the sample can be unpacked");
    return gzip.readAllStandardOutput();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QByteArray samples[] = {unpacked(QStringLiteral(SAMPLES "/Orvanta-jet3.mdb.gz")),
                                         unpacked(QStringLiteral(SAMPLES "/Orvanta-jet4.mdb.gz"))};
    static const QTemporaryDir folder;
    static const QString oldFile = folder.filePath(QStringLiteral("old.mdb"));
    static const QString newFile = folder.filePath(QStringLiteral("new.mdb"));
    std::cout.setstate(std::ios::badbit); // the import's report

    Input input(data, size);
    const int sample = input.byte() % 2;
    const qsizetype pageSize = sample == 0 ? 2048 : 4096;
    const qsizetype rowCountAt = sample == 0 ? 12 : 16; // in a table's definition
    const QByteArray bytes = damaged(samples[sample], pageSize, input);
    TemporaryHome::write(oldFile, bytes);
    std::vector<JetTable> tables;
    try {
        NewDatabase database;
        takeOver(QFile::encodeName(oldFile), database);
        TemporaryHome::write(newFile, database.bytes());
        tables = JetFile(QFile::encodeName(oldFile), [] {}).tables();
    } catch (const NotDone &notDone) {
        require(!notDone.why.isEmpty(), "a refusal has its reason");
        return 0;
    }
    require(!tables.empty(), "the clock's tables are there");
    for (JetTable &table : tables) {
        const QString name = table.name.replace(u'`', QStringLiteral("``"));
        const auto rows = answer(QFile::encodeName(newFile),
                                 QStringLiteral("SELECT count(*) FROM `%1`").arg(name).toUtf8());
        const auto count =
            qFromLittleEndian<quint32>(bytes.data() + table.page * pageSize + rowCountAt);
        require(rows == QByteArray::number(count), "a table has as many rows as the file says");
    }
    return 0;
}
