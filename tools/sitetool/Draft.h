#pragma once

#include <QByteArray>
#include <QString>

/// The path of the database that a command makes: `file`, or where that is null Orvanta.mdb in
/// the program's folder. In an installed system the latter is a link to where the data lie, which
/// stays: the path is then the link's target, there or not yet.
QString databaseNamed(const QString &file);

/// A file that is written beside its place and gets its name only when it is whole. Whatever has
/// the name already stays as it is, a link that points nowhere included. A draft that is not
/// published goes with this object.
class Draft
{
public:
    /// Makes the draft, empty, with the permissions that the umask gives; in a folder that shares
    /// its files with a group (set-group-ID), that group may write it whatever the umask is, and
    /// nobody else may read it. Throws NotDone when the name is taken or the folder takes no file.
    explicit Draft(const QString &target);
    ~Draft();
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    /// The draft's own path, to be written through.
    const QByteArray &path() const { return m_path; }
    const QString &target() const { return m_target; }

    /// Gives the draft its name once its bytes are on the disk. Throws NotDone when they cannot be
    /// brought there, or when the name has been taken meanwhile.
    void publish();

private:
    QString m_target;
    QByteArray m_path;
};
