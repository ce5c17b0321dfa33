#pragma once

#include "platform/basics/FileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace Tavrel
{

/// A file without a name in the folder of its target. It gets its name only once it is complete, so
/// other users who may write the folder cannot replace it by a link before that, and it disappears
/// if the program ends. An existing file is never replaced, nor is a dangling link.
///
/// The file systems of memory sticks do not support such files. There, in a folder that only this
/// user may write, it is named TARGET.part until it is complete.
class NamelessFile
{
public:
    /// Creates an empty file with those permissions of `mode` that the umask allows. In a folder
    /// with the set-group-ID bit, the group may write it whatever the umask is, and others may not
    /// read it. Throws NotDone if the name is in use, or if the folder or its file system does not
    /// support such a file.
    explicit NamelessFile(const QString &target, mode_t mode = 0666);
    NamelessFile(const NamelessFile &) = delete;
    NamelessFile &operator=(const NamelessFile &) = delete;
    ~NamelessFile();

    const QString &target() const { return m_target; }

    /// A path by which this process can open the file, also through GuardedFiles.
    QByteArray path() const { return "/proc/self/fd/" + QByteArray::number(m_file.get()); }

    /// Appends `bytes`. Throws NotDone if they cannot be written.
    void write(const QByteArray &bytes);

    /// Writes the contents through to the disk, then gives the file its name. Throws NotDone if
    /// that fails, or if the name has come into use.
    void publish();

private:
    QString m_target;
    FileDescriptor m_folder;
    FileDescriptor m_file;
    QByteArray m_partName; ///< in the folder; empty if the file has no name
};

} // namespace Tavrel
