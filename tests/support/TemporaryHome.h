#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

/// Runs `action` as a user other than root, who ignores permissions.
template <typename Action> void asOrdinaryUser(const Action &action)
{
    const bool root = geteuid() == 0;
    const uid_t nobody = 65534;
    if (root && setresuid(nobody, nobody, 0) != 0)
        qFatal("cannot leave root");
    action();
    if (root && setresuid(0, 0, 0) != 0)
        qFatal("cannot be root again");
}

/// Where tests create folders. Root's own folder for temporary files may be closed to the user of
/// asOrdinaryUser.
inline QString temporaryFolder()
{
    return (geteuid() == 0 ? QStringLiteral("/tmp") : QDir::tempPath()) + "/tst-XXXXXX";
}

/// A temporary home, so that the user's own settings are neither read nor written.
class TemporaryHome
{
public:
    TemporaryHome()
    {
        qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8());
        QDir(m_folder.path()).mkpath(QStringLiteral("Tavrel"));
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString settingsFile() const { return path(QStringLiteral("Tavrel/Tavrel.conf")); }

    void writeSettings(const QByteArray &content) const { write(settingsFile(), content); }
    QByteArray readSettings() const { return read(settingsFile()); }

    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(path));
    }

    /// Creates at `path` something other than a regular file: a "pipe" without a writer, a
    /// "device" or a "folder".
    static void putInPlace(const QByteArray &kind, const QString &path)
    {
        const QByteArray name = QFile::encodeName(path);
        if ((kind == "pipe"     ? mkfifo(name.constData(), 0600)
             : kind == "device" ? symlink("/dev/zero", name.constData())
                                : mkdir(name.constData(), 0700)) != 0)
            qFatal("cannot make a %s at %s", kind.constData(), name.constData());
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_folder{temporaryFolder()};
};
