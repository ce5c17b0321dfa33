#pragma once

#include "platform/basics/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace Tavrel
{

/// A simulated card reader: the master side of a pseudo-terminal whose slave side a clock opens as
/// its serial port. Destroying the object hangs up the line, as unplugging a reader does.
class VirtualReader
{
public:
    /// Throws a Failure with `errno` if no pseudo-terminal is available.
    VirtualReader();
    ~VirtualReader();
    VirtualReader(const VirtualReader &) = delete;
    VirtualReader &operator=(const VirtualReader &) = delete;

    /// The device that the clock opens.
    QString device() const { return m_device; }

    /// The reader's side of the line, for a notifier.
    int descriptor() const { return m_reader.get(); }

    /// Makes `path` a link to the device. Replaces a link to another pseudo-terminal, but nothing
    /// else. The destructor removes the link. Throws Failure::PathFileAccess, which names the path
    /// and, if it is missing, the folder.
    void linkAt(const QString &path);

    /// Sends bytes to the clock unchanged, without waiting: if the line is full because no program
    /// reads it, the rest is dropped. Returns the number of bytes sent.
    qsizetype send(const QByteArray &bytes);

    /// Waits until the clock has sent `atLeast` bytes, and returns all that have arrived.
    QByteArray receive(qsizetype atLeast = 0);

private:
    FileDescriptor m_reader;
    FileDescriptor m_clockSide; ///< kept open, so that the line does not hang up without a clock
    QString m_device;
    QString m_link;
};

/// Returns the frame of a swipe. A line that begins with "%", ";" or "+" lists its tracks, in this
/// order, with or without end sentinels, as in "%ANN;1001"; a sentinel without text is an empty
/// track. Any other line is a badge number on track 2.
QByteArray swipeFrame(const QString &line);

} // namespace Tavrel
