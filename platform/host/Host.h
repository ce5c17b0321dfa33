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

/// What procedures need from the machine: the seam between them and the outside world. A program
/// has one real host; tests have one that records and scripts.
class Host
{
public:
    virtual ~Host() = default;

    /// Milliseconds since an arbitrary start, as a signed 32-bit number: it wraps from the largest
    /// positive value to the most negative one every 49.7 days.
    virtual std::int32_t GetTickCount() = 0;

    /// Delivers all pending events and returns. If none are pending it first sleeps until the next
    /// one, for at most `longestWait` milliseconds; callers pass the time left until their own
    /// limit, or Forever if they have none. With 0 it never sleeps.
    virtual void DoEvents(std::int32_t longestWait = 0) = 0;

    static constexpr std::int32_t Forever = std::numeric_limits<std::int32_t>::max();

    /// Shows `text` in a modal box with one OK button and returns when the user has closed it.
    /// Events are still delivered meanwhile.
    virtual void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) = 0;

    void MsgBox(const QString &text) { MsgBox(text, ApplicationTitle, MsgBoxIcon::None); }

    /// Shows a failure: its description, with its number as the title.
    void MsgBox(const Failure &failure)
    {
        MsgBox(failure.description, QString::number(failure.number), MsgBoxIcon::None);
    }

    /// The local date and time, in whole seconds.
    virtual QDateTime Now() = 0;

    /// Ends the process at once with status 0, running only the handlers of std::at_quick_exit.
    /// Callers must also be correct if it returns, as it does in tests.
    virtual void End() = 0;
};

} // namespace Tavrel
