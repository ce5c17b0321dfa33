#pragma once

#include "platform/basics/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace Tavrel
{

/// A file without a name in the folder of its target, which gets its name only when it is whole.
/// Others who may write the folder have nothing to put in its way, and however the program ends
/// nothing is left of it. Whatever has the name already stays as it is, a link that points
/// nowhere included.
class NamelessFile
{
public:
    /// Makes the file, empty, with the permissions that the umask gives; in a folder that shares
    /// its files with a group (set-group-ID), that group may write it whatever the umask is, and
    /// others may not read it. Throws NotDone when the name is taken, or when the folder, or its
    /// file system, takes no such file.
    explicit NamelessFile(const QString &target);

    const QString &target() const { return m_target; }

    /// Appends `bytes`. Throws NotDone when they cannot be written.
    void write(const QByteArray &bytes);

    /// Gives the file its name once its bytes are on the disk. Throws NotDone when they cannot be
    /// brought there, or when the name has been taken meanwhile.
    void publish();

private:
    QString m_target;
    FileDescriptor m_folder;
    FileDescriptor m_file;
};

} // namespace Tavrel
