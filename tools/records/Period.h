#pragma once

#include "tools/records/CommandLine.h"

#include <QDate>
#include <QDateTime>

namespace Tavrel
{

/// The day in `text`, for example 2026-03-23. Throws Console::Mistake for anything else.
QDate dayOf(const QString &text);

/// The local time in `text`: 2026-03-23 16:45, optionally with seconds, or with a T for the blank;
/// 16:45 is today. Throws Console::Mistake for anything else, and for a time that the clocks skip
/// when they go forward.
QDateTime timeOf(const QString &text);

/// Days in sequence, the last included.
struct Period {
    QDate first;
    QDate last;

    /// The bounds for stored times: not before begin(), and before end().
    QString begin() const { return first.toString(Qt::ISODate); }
    QString end() const { return last.toString(Qt::ISODate) + u'~'; }
};

/// The period of the options: a week (2026-W13), a month (2026-03), or all days from one to
/// another, of which the last is today by default, and the first that of the first punch. Without
/// any of them it is today. Throws Console::Mistake if an option is invalid, if they contradict
/// each other, or if the first day is after the last.
Period periodOf(const CommandLine &line);

} // namespace Tavrel
