#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/// What a program printed, and its exit status.
struct Run {
    int status;
    QString output;
    QString errors;

    /// Runs a program to its end, with `input` as its standard input.
    static Run start(const QString &program, const QStringList &arguments,
                     const QByteArray &input = {})
    {
        QProcess process;
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
            qFatal("%s did not end by itself", qPrintable(program));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
};
