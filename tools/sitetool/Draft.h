#pragma once

#include "platform/basics/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace Tavrel
{

/// The path of the database that a command makes: `file`, or where that is null Orvanta.mdb in
/// the program's folder. In an installed system the latter is a link to where the data lie, which
/// stays: the path is then the link's target, there or not yet.
QString databaseNamed(const QString &file);

/// A file without a name in the folder of its target, which gets its name only when it is whole.
/// Others who may write the folder have nothing to put in its way, and however the program ends
/// nothing is left of a draft. Whatever has the name already stays as it is, a link that points
/// nowhere included.
class Draft
{
public:
    /// Makes the draft, empty, with the permissions that the umask gives; in a folder that shares
    /// its files with a group (set-group-ID), that group may write it whatever the umask is, and
    /// others may not read it. Throws NotDone when the name is taken, or when the folder, or its
    /// file system, takes no such file.
    explicit Draft(const QString &target);

    const QString &target() const { return m_target; }

    /// Appends `bytes`. Throws NotDone when they cannot be written.
    void write(const QByteArray &bytes);

    /// Gives the draft its name once its bytes are on the disk. Throws NotDone when they cannot be
    /// brought there, or when the name has been taken meanwhile.
    void publish();

private:
    QString m_target;
    FileDescriptor m_folder;
    FileDescriptor m_file;
};

} // namespace Tavrel
