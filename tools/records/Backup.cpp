#include "tools/records/Backup.h"

#include "platform/database/GuardedFiles.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/DatabaseCopy.h"
#include "tools/records/TimeDatabase.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The number in --keep; 0 without it.
int keptOf(const CommandLine &line)
{
    const QString text = line.options.value(u"keep"_s);
    const int number = text.toInt();
    if (line.has(u"keep"_s) && number < 1)
        throw Console::Mistake{u"Invalid --keep \"%1\"; expected for example 30."_s.arg(text)};
    return number;
}

/// Removes the oldest backups in `folder` until there are `most`. The one just made stays, even if
/// others are dated in the future.
void removeOldest(const QDir &folder, const QString &justMade, int most)
{
    static const QRegularExpression form(u"^Orvanta-[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{6}\\.mdb$"_s);
    QStringList others =
        folder.entryList(QDir::Files | QDir::NoSymLinks | QDir::Hidden, QDir::Name).filter(form);
    others.removeOne(justMade);
    for (; others.size() >= most; others.removeFirst()) {
        const QString oldest = folder.filePath(others.first());
        if (!QFile::remove(oldest))
            throw NotDone{u"Cannot remove \"%1\"."_s.arg(oldest)};
        Console::say(u"Removed %1."_s.arg(oldest));
    }
}

} // namespace

int backUp(const CommandLine &line)
{
    const int kept = keptOf(line);
    const QString named = QFileInfo(line.arguments[0]).absoluteFilePath();
    const QFileInfo folder(
        QFile::decodeName(trustedPath(QFile::encodeName(QDir::cleanPath(named)))));
    const bool isFolder = folder.isDir() && !folder.isSymLink();
    if (kept > 0 && !isFolder)
        throw Console::Mistake{
            u"--keep needs an existing folder; not a folder: \"%1\"."_s.arg(line.arguments[0])};
    const QString name =
        QDateTime::currentDateTime().toString(u"'Orvanta-'yyyy-MM-dd-HHmmss'.mdb'");

    TimeDatabase database(line.file);
    DatabaseCopy copy(database.connection(), isFolder ? folder.filePath() + u'/' + name : named);
    if (const QString damage = copy.damage(); !damage.isEmpty())
        throw NotDone{u"No backup was made, because the database is damaged: %1."_s.arg(damage)};
    copy.publish();
    Console::say(u"Made %1."_s.arg(copy.file().target()));
    if (kept > 0)
        removeOldest(folder.filePath(), name, kept);
    return Console::Succeeded;
}

} // namespace Tavrel
