#include "tools/records/DatabasePath.h"

#include "store/DataEnvironment.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace Tavrel
{

QString databasePath(const QString &file)
{
    return file.isNull() ? QCoreApplication::applicationDirPath() + u'/' + DatabaseFile : file;
}

QString newDatabasePath(const QString &file)
{
    const QFileInfo usual(databasePath(file));
    return file.isNull() && usual.isSymLink() ? usual.symLinkTarget() : usual.filePath();
}

} // namespace Tavrel
