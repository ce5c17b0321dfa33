#include "tools/sitetool/OldDatabase.h"

#include "tools/console/NotDone.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>

#include <sys/prctl.h>
#include <sys/resource.h>

#include <csignal>

namespace Tavrel
{

using namespace Qt::StringLiterals;

OldDatabase::OldDatabase(const QString &path, std::chrono::milliseconds silence)
    : m_path(QFileInfo(path).absoluteFilePath()), // cannot be mistaken for an option
      m_silence(silence)
{
    constexpr qsizetype VersionAt = 20;
    constexpr qint64 Jet3PageSize = 2048;
    constexpr qint64 PageSize = 4096;
    const auto require = [&](bool holds, const QString &what) {
        if (!holds)
            throw NotDone{what};
    };

    QFile file(path);
    // Reading from anything else might block.
    require(!file.exists() || QFileInfo(path).isFile(), u"not a regular file."_s);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    require(isOpen, file.errorString() + u'.');
    const QByteArray head = file.read(VersionAt + 1);
    const QByteArray mark = head.mid(4, 15);
    require(head.size() > VersionAt && (mark == "Standard Jet DB" || mark == "Standard ACE DB"),
            u"not a Jet or Access database."_s);
    m_size = file.size();
    require(m_size % (head[VersionAt] == 0 ? Jet3PageSize : PageSize) == 0,
            u"the last page is incomplete, so the end of the file is missing."_s);
}

OldDatabase::Catalogue OldDatabase::catalogue() const
{
    enum Type { Local = 1, LinkedOdbc = 4, Linked = 6 };
    constexpr quint32 SystemFlag = 0x80000002;
    static const QRegularExpression Definition(u"^\\t`((?:[^`]|``)+)`\\t+(\\w+)"_s);

    Catalogue found;
    readRows(u"MSysObjects"_s, [&](const QJsonObject &object) {
        const QString name = object[u"Name"].toString();
        const int type = object[u"Type"].toInt();
        const auto flags = static_cast<quint32>(object[u"Flags"].toInt());
        const bool isEngines =
            (flags & SystemFlag) != 0 && name.startsWith(u"MSys", Qt::CaseInsensitive);
        if (type == Local && !isEngines)
            found.tables.push_back({name, {}});
        else if (type == Linked || type == LinkedOdbc)
            found.linkedTables += name;
    });
    for (OldTable &table : found.tables) {
        run(u"mdb-schema"_s, {u"--table="_s + table.name, m_path, u"sqlite"_s},
            [&](const QByteArray &line) {
                const auto match = Definition.match(QString::fromUtf8(line));
                if (match.hasMatch())
                    table.columns.push_back(
                        {match.captured(1).replace(u"``"_s, u"`"_s), match.captured(2)});
            });
    }
    return found;
}

qint64 OldDatabase::readRows(const QString &table,
                             const std::function<void(const QJsonObject &row)> &take) const
{
    static const QString Format = u"%Y-%m-%d %H:%M:%S"_s;

    qint64 count = -1;
    run(u"mdb-count"_s, {m_path, table},
        [&](const QByteArray &line) { count = line.toLongLong(); });
    qint64 rows = 0;
    run(u"mdb-json"_s, {u"-D"_s, Format, u"-T"_s, Format, m_path, table},
        [&](const QByteArray &line) {
            ++rows;
            QJsonParseError error;
            const QJsonDocument row = QJsonDocument::fromJson(line, &error);
            if (!row.isObject())
                throw NotDone{u"table \"%1\", row %2: invalid JSON from mdb-json: %3."_s.arg(
                    table, QString::number(rows), error.errorString())};
            take(row.object());
        });
    if (rows != count)
        throw NotDone{u"table \"%1\" is damaged: expected %2 rows, found %3."_s.arg(
            table, QString::number(count), QString::number(rows))};
    return rows;
}

void OldDatabase::run(const QString &program, const QStringList &arguments,
                      const std::function<void(const QByteArray &line)> &take) const
{
    constexpr qint64 MostGrowth =
        1000; // mdb-json prints the column's name for each bit of a Yes/No
    constexpr qint64 LongestLine = qint64{64} << 20;
    constexpr qint64 LongestComplaint = 500;
    const auto require = [&](bool holds, const QString &what) {
        if (!holds)
            throw NotDone{program + u' ' + what};
    };

    QProcess process;
    const auto end = qScopeGuard([&] {
        process.kill();
        process.waitForFinished();
    });
    QProcessEnvironment environment;
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    process.setProcessEnvironment(environment);
    process.setChildProcessModifier([] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        // On a circular chain of pages the programs allocate memory without end.
        constexpr rlimit MostMemory = {rlim_t{1} << 30, rlim_t{1} << 30};
        ::setrlimit(RLIMIT_AS, &MostMemory);
    });
    // After any error message the rest of its output is not used.
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, &QProcess::kill);
    process.start(program, arguments, QIODevice::ReadOnly);
    require(process.waitForStarted(), u"cannot be started; install the package mdbtools."_s);

    const auto silence = static_cast<int>(m_silence.count());
    qint64 taken = 0;
    while (process.waitForReadyRead(silence)) {
        while (process.canReadLine()) {
            const QByteArray line = process.readLine();
            taken += line.size();
            take(line.chopped(1));
        }
        require(process.bytesAvailable() <= LongestLine &&
                    taken + process.bytesAvailable() <= m_size * MostGrowth,
                u"prints more than the file can contain: the file is damaged."_s);
    }
    const bool isEnded =
        process.state() == QProcess::NotRunning || process.waitForFinished(silence);
    process.setReadChannel(QProcess::StandardError);
    const QByteArray complaint = process.readLine(LongestComplaint);
    require(complaint.isEmpty(), u"reports \"%1\": the file is damaged or encrypted."_s.arg(
                                     QString::fromUtf8(complaint.trimmed())));
    require(isEnded, u"timed out: the file is damaged."_s);
    require(process.exitStatus() == QProcess::NormalExit, u"crashed: the file is damaged."_s);
    require(process.exitCode() == 0, u"failed: the file is damaged."_s);
}

} // namespace Tavrel
