#pragma once

#include "platform/basics/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace Tavrel
{

/// A card reader without hardware: the far end of a pseudo-terminal, whose near end a clock opens
/// as its serial port. When the object goes, the near end hangs up, as a pulled-out reader does.
class VirtualReader
{
public:
    /// Failure with `errno` when no pseudo-terminal is to be had.
    VirtualReader();
    ~VirtualReader();
    VirtualReader(const VirtualReader &) = delete;
    VirtualReader &operator=(const VirtualReader &) = delete;

    /// The device that the clock opens.
    QString device() const { return m_device; }

    /// The reader's end of the line, to be waited on.
    int descriptor() const { return m_reader.get(); }

    /// Makes `path` a link to the device, in place of one to another pseudo-terminal but never of
    /// anything else; the link goes with the object. Failure 75, which names the path and the
    /// folder that is missing, when it cannot be made.
    void linkAt(const QString &path);

    /// Sends bytes to the clock, as they are, without waiting: what a line that nobody reads has
    /// no room for is dropped. Returns how many bytes the line has taken.
    qsizetype send(const QByteArray &bytes);

    /// What the clock has sent: waits until there are `atLeast` bytes, and takes all there are.
    QByteArray receive(qsizetype atLeast = 0);

private:
    FileDescriptor m_reader;
    FileDescriptor m_clockSide; ///< kept open, so that the line lives while no clock has it
    QString m_device;
    QString m_link;
};

/// The frame of a swipe. A line beginning with "%", ";" or "+" spells its tracks, in this order,
/// with or without end sentinels, as in "%ANN;1001"; one without a text is an empty track. Any
/// other line is a badge number on track 2.
QByteArray swipeFrame(const QString &line);

} // namespace Tavrel
