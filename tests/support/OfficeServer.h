#pragma once

#include "tests/support/TemporaryHome.h"

#include <QProcess>

/// A PostgreSQL server of the test's own, with the empty database `office`. Any role may log in.
class OfficeServer
{
public:
    OfficeServer() { control(QStringLiteral("start")); }
    ~OfficeServer() { control(QStringLiteral("stop")); }
    OfficeServer(const OfficeServer &) = delete;
    OfficeServer &operator=(const OfficeServer &) = delete;

    /// Does `start` or `stop`; a server that was stopped or killed starts again on its data.
    void control(const QString &action) const
    {
        QProcess script;
        script.setProcessChannelMode(QProcess::ForwardedChannels);
        script.start(QStringLiteral(OFFICE_SCRIPT), {action, m_folder.path()});
        if (!script.waitForFinished(60000) || script.exitCode() != 0)
            qFatal("cannot %s a server", qPrintable(action));
    }

    /// What makes a client log in here as `role`, without any settings of the user who runs the
    /// tests.
    QProcessEnvironment environment(const QString &role) const
    {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        const QStringList names = result.keys();
        for (const QString &name : names) {
            if (name.startsWith(QLatin1String("PG")))
                result.remove(name);
        }
        result.insert(QStringLiteral("PGHOST"), m_folder.filePath(QStringLiteral("socket")));
        result.insert(QStringLiteral("PGDATABASE"), QStringLiteral("office"));
        result.insert(QStringLiteral("PGUSER"), role);
        return result;
    }

    /// Runs statements, or commands of psql, and returns their rows, one line for each, with
    /// columns separated by "|". The first failure ends it: the test, or with `failure` only the
    /// statements.
    QString run(const QByteArray &sql, const QString &role = QStringLiteral("office"),
                QString *failure = nullptr) const
    {
        QProcess psql;
        psql.setProcessEnvironment(environment(role));
        psql.start(psqlPath(), {QStringLiteral("-qAtX"), QStringLiteral("-v"),
                                QStringLiteral("ON_ERROR_STOP=1")});
        psql.write(sql);
        psql.closeWriteChannel();
        const bool ended = psql.waitForFinished() && psql.exitStatus() == QProcess::NormalExit;
        const QString errors = QString::fromUtf8(psql.readAllStandardError()).trimmed();
        if (!ended || (!failure && psql.exitCode() != 0))
            qFatal("psql failed: %s", qPrintable(errors));
        if (failure)
            *failure = psql.exitCode() != 0 ? errors : QString();
        return QString::fromUtf8(psql.readAllStandardOutput()).trimmed();
    }

    /// psql itself: the one in the path is a script of Debian, which takes longer than statements.
    static QString psqlPath()
    {
        const QDir versions(QStringLiteral("/usr/lib/postgresql"));
        return versions.filePath(versions.entryList(QDir::AllDirs).constLast() + "/bin/psql");
    }

private:
    QTemporaryDir m_folder{temporaryFolder()};
};
