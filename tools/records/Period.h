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

/// The period of the options: --week 2026-W13, --month 2026-03, or --from and --to, each a day.
/// Without
/// --to it ends today, without any it is today; without --from it begins with the first punch.
/// Throws Console::Mistake if an option is invalid, if several of them are given, or if --from is
/// after
/// --to.
Period periodOf(const CommandLine &line);

} // namespace Tavrel
