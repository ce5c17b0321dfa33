#include "tools/records/Forwarding.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace Forwarding
{

namespace
{

constexpr QLatin1StringView ServiceFolder("/var/lib/tavrel-forward");

} // namespace

QString identity(Connection &database)
{
    if (!Statement(database, u"SELECT 1 FROM sqlite_master WHERE name = 'Forwarding'"_s).step())
        return {};
    Statement row(database, u"SELECT Identity FROM Forwarding"_s);
    const QUuid stored(row.step() ? row.value(0).toVariant().toString() : QString());
    return stored.isNull() ? QString() : stored.toString(QUuid::WithoutBraces);
}

QString makeIdentity(TimeDatabase &database)
{
    QString known = identity(database.connection());
    if (known.isNull()) {
        database.change([&] {
            known = QUuid::createUuid().toString(QUuid::WithoutBraces);
            database.execute(u"DROP TABLE IF EXISTS Forwarding"_s);
            database.execute(u"CREATE TABLE Forwarding (Identity TEXT NOT NULL)"_s);
            database.changeRows(u"INSERT INTO Forwarding VALUES (?1)"_s, {known});
        });
    }
    return known;
}

QString stateFolder()
{
    const QString home =
        qEnvironmentVariable("XDG_STATE_HOME", QDir::homePath() + u"/.local/state"_s);
    return qEnvironmentVariable("STATE_DIRECTORY", home + u"/Tavrel"_s);
}

QString stateFile(const QString &identity)
{
    return identity + u".forward"_s;
}

Report lastReport(const QString &identity)
{
    Report last;
    for (const QString &folder : {stateFolder(), QString(ServiceFolder)}) {
        QFile file(folder + u'/' + stateFile(identity));
        constexpr qint64 LongestLine = 10000;
        const QFileInfo found(file);
        if (!found.isFile() || (last.when.isValid() && found.lastModified() < last.when) ||
            !file.open(QIODevice::ReadOnly))
            continue;
        const QString line = QString::fromUtf8(file.readLine(LongestLine)).trimmed();
        last = {line.section(u' ', 0, 0).toInt(), line.section(u' ', 1), found.lastModified()};
    }
    return last;
}

} // namespace Forwarding

} // namespace Tavrel
