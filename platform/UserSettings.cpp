#include "platform/UserSettings.h"

#include "platform/Failure.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <QVariant>

#include <algorithm>
#include <cstdio>

namespace
{

QString storePath(const QString &application)
{
    return settingsFolder(application) + u'/' + application + QStringLiteral(".conf");
}

QString address(const QString &section, const QString &key)
{
    return section + u'/' + key;
}

/// An unquoted comma in the file makes a value a list; here it is text all the same.
QString textOf(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u", ")
                                                    : value.toString();
}

/// Gives a file a later time than the one that it is to replace. Readers know a changed file by
/// its size and its time in milliseconds, and two writes may well be closer than that.
void makeNewer(const QString &path, const QFileInfo &replaced)
{
    QFile file(path);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime later = replaced.lastModified().toUTC().addMSecs(1);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) ||
        !file.setFileTime(replaced.exists() ? std::max(now, later) : now,
                          QFileDevice::FileModificationTime))
        throw Failure(Failure::PathFileAccess);
}

} // namespace

QString settingsFolder(const QString &application)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u'/' +
           application;
}

QString GetSetting(const QString &application, const QString &section, const QString &key,
                   const QString &fallback)
{
    const QSettings store(storePath(application), QSettings::NativeFormat);
    const QString name = address(section, key);
    return store.contains(name) ? textOf(store.value(name)) : fallback;
}

void SaveSetting(const QString &application, const QString &section, const QString &key,
                 const QString &text)
{
    QDir().mkpath(settingsFolder(application));
    const QFileInfo stored(storePath(application));
    const QString path = stored.exists() ? stored.canonicalFilePath() : stored.filePath();
    if (stored.exists() && !stored.isWritable())
        throw Failure(Failure::PathFileAccess);

    // QSettings goes on serving a value that it could not write. So it writes to a file of its
    // own here, which takes the store's place only when it is whole.
    QTemporaryFile draft(path + QStringLiteral(".XXXXXX"));
    if (!draft.open())
        throw Failure(Failure::PathFileAccess);
    {
        const QSettings store(path, QSettings::NativeFormat);
        QSettings copy(draft.fileName(), QSettings::NativeFormat);
        for (const QString &name : store.allKeys())
            copy.setValue(name, store.value(name));
        copy.setValue(address(section, key), text);
        copy.sync();
        if (copy.status() != QSettings::NoError)
            throw Failure(Failure::PathFileAccess);
    }
    makeNewer(draft.fileName(), stored);
    if (stored.exists())
        QFile::setPermissions(draft.fileName(), stored.permissions());
    if (std::rename(QFile::encodeName(draft.fileName()).constData(),
                    QFile::encodeName(path).constData()) != 0)
        throw Failure(Failure::PathFileAccess);
    draft.setAutoRemove(false);
}
