#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

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

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_folder;
};
