#include "app/settings/SettingsStore.h"

#include "platform/basics/Failure.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

#include <algorithm>
#include <cstdio>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

QString address(const QString &section, const QString &key)
{
    return section + u'/' + key;
}

/// QSettings turns a value with an unquoted comma into a list; this turns it back into text.
QString textOf(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u", ")
                                                    : value.toString();
}

/// A folder next to a file that holds the new content until it is complete. What a killed write
/// left is in it, and is all that the next write deletes.
class DraftFolder
{
public:
    explicit DraftFolder(const QString &path) : m_folder(path + u".draft"_s)
    {
        if (QFileInfo(m_folder.path()).isSymLink())
            throw Failure(Failure::PathFileAccess, m_folder.path());
        remove();
        m_folder.mkpath(u"."_s);
    }
    ~DraftFolder() { remove(); }
    Q_DISABLE_COPY_MOVE(DraftFolder)

    /// A name that no earlier draft had, because QSettings caches files by their names.
    QString file() const { return m_folder.filePath(QString::number(m_number)); }

private:
    void remove()
    {
        // The names of drafts, and of the files that QSettings creates next to them, begin with a
        // digit.
        for (const QString &name : m_folder.entryList(QDir::Files | QDir::Hidden)) {
            if (name[0].isDigit())
                m_folder.remove(name);
        }
        m_folder.rmdir(m_folder.path()); // works only on an empty folder
    }

    static inline int s_drafts = 0;
    const int m_number = ++s_drafts;
    QDir m_folder;
};

/// Copies the stored file, with its permissions, to `draft`; returns whether that succeeded. A
/// missing file is a success, text that is not UTF-8 a failure.
bool copied(const QFileInfo &stored, const QString &draft)
{
    if (!stored.exists())
        return true;
    QFile file(stored.filePath());
    return stored.isFile() && file.open(QIODevice::ReadOnly) && file.readAll().isValidUtf8() &&
           file.copy(draft);
}

/// Stores `text` in the settings file `draft`; false if it cannot be parsed or written.
bool changed(const QString &draft, const QString &name, const QString &text)
{
    // QSettings keeps returning values that it could not write, and overwrites files that it could
    // not read. So it only ever writes drafts, never the store.
    QSettings settings(draft, QSettings::NativeFormat);
    settings.setValue(name, text);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

/// Gives the file a later time than that of the file it will replace; returns whether that
/// succeeded. QSettings detects changes by size and time in milliseconds, and two writes may be
/// closer together than that.
bool madeNewer(const QString &path, const QFileInfo &replaced)
{
    QFile file(path);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime later = replaced.lastModified().toUTC().addMSecs(1);
    return file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) &&
           file.setFileTime(replaced.exists() ? std::max(now, later) : now,
                            QFileDevice::FileModificationTime);
}

bool renamed(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

} // namespace

QString settingsFolder(const QString &application)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u'/' +
           application;
}

QString settingsFile(const QString &application)
{
    return settingsFolder(application) + u'/' + application + u".conf"_s;
}

QString GetSetting(const QString &application, const QString &section, const QString &key,
                   const QString &fallback)
{
    const QString path = settingsFile(application);
    if (!QFileInfo(path).isFile()) // opening a pipe would block
        return fallback;
    const QSettings store(path, QSettings::NativeFormat);
    const QString name = address(section, key);
    return store.contains(name) ? textOf(store.value(name)) : fallback;
}

void SaveSetting(const QString &application, const QString &section, const QString &key,
                 const QString &text)
{
    QDir().mkpath(settingsFolder(application));
    const QFileInfo stored(settingsFile(application));
    const QString path = stored.exists()      ? stored.canonicalFilePath()
                         : stored.isSymLink() ? stored.symLinkTarget()
                                              : stored.filePath();
    const DraftFolder folder(path);
    const QString draft = folder.file();
    if (!copied(stored, draft) || !changed(draft, address(section, key), text) ||
        !madeNewer(draft, stored) || !renamed(draft, path))
        throw Failure(Failure::PathFileAccess, path);
}

} // namespace Tavrel
