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

/// An unquoted comma in the file makes a value a list; here it is text all the same.
QString textOf(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u", ")
                                                    : value.toString();
}

/// A folder beside a file for what a write leaves there before the file's new content is whole.
/// Whatever a killed write has left behind is in it, and goes at the next write; nothing else does.
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

    /// A name that no draft had before, for QSettings remembers files by their names.
    QString file() const { return m_folder.filePath(QString::number(m_number)); }

private:
    void remove()
    {
        // The drafts, and what QSettings makes beside them, have names that begin with a number.
        for (const QString &name : m_folder.entryList(QDir::Files | QDir::Hidden)) {
            if (name[0].isDigit())
                m_folder.remove(name);
        }
        m_folder.rmdir(m_folder.path()); // which only an empty folder allows
    }

    static inline int s_drafts = 0;
    const int m_number = ++s_drafts;
    QDir m_folder;
};

/// Whether `draft` has become a copy of what is stored, with its permissions. There is nothing to
/// copy when nothing is stored yet.
bool copied(const QFileInfo &stored, const QString &draft)
{
    if (!stored.exists())
        return true;
    QFile file(stored.filePath());
    return stored.isFile() && file.open(QIODevice::ReadOnly) && file.readAll().isValidUtf8() &&
           file.copy(draft);
}

/// Whether the settings file `draft`, which must be in the format, has taken the text.
bool changed(const QString &draft, const QString &name, const QString &text)
{
    // QSettings goes on serving what it could not write, and overwrites what it could not read. So
    // it writes here, and never to the store.
    QSettings settings(draft, QSettings::NativeFormat);
    settings.setValue(name, text);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

/// Whether the file has got a later time than the one that it is to replace. Readers know a
/// changed file by its size and its time in milliseconds, and two writes may be closer than that.
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
    if (!QFileInfo(path).isFile()) // a pipe would be waited on
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
