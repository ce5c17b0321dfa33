#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

/// Runs `action` as a user whom permissions bind, which root is not.
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

/// Where the folders of a test lie. Root's own folder of temporary files may be closed to the user
/// that asOrdinaryUser makes of it.
inline QString temporaryFolder()
{
    return (geteuid() == 0 ? QStringLiteral("/tmp") : QDir::tempPath()) + "/tst-XXXXXX";
}

/// A home of the test's own, so that no user's settings are read or written.
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

    /// Puts what is no regular file at `path`: a "pipe" that nobody writes to, a "device" or a
    /// "folder".
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
