#pragma once

#include "platform/basics/ApplicationTitle.h"
#include "platform/basics/Failure.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <limits>

namespace Tavrel
{

enum class MsgBoxIcon { None, Critical };

/// What procedures need of the machine: the one seam between them and the outside world.
/// A program has one real host; tests have one that records and scripts.
class Host
{
public:
    virtual ~Host() = default;

    /// The milliseconds since some start, as a signed 32-bit number: it jumps from the largest
    /// positive value to the most negative one, every 49.7 days.
    virtual std::int32_t GetTickCount() = 0;

    /// Delivers all pending events and returns. When nothing at all was pending it first gives the
    /// processor away until the next event, for at most `longestWait` milliseconds: what is left
    /// until the caller's own limit, Forever where it has none. With 0 it never waits.
    virtual void DoEvents(std::int32_t longestWait = 0) = 0;

    static constexpr std::int32_t Forever = std::numeric_limits<std::int32_t>::max();

    /// Shows `text` in a modal box with one OK button and returns when the user has closed it.
    /// Events go on being delivered meanwhile.
    virtual void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) = 0;

    void MsgBox(const QString &text) { MsgBox(text, ApplicationTitle, MsgBoxIcon::None); }

    /// The box of a failure: its description, with its number as the title.
    void MsgBox(const Failure &failure)
    {
        MsgBox(failure.description, QString::number(failure.number), MsgBoxIcon::None);
    }

    /// The local date and time, in whole seconds.
    virtual QDateTime Now() = 0;

    /// Ends the process at once, with status 0 and without any further handler but those of
    /// std::at_quick_exit. Callers must be right also when it returns, as the one in tests does.
    virtual void End() = 0;
};

} // namespace Tavrel
