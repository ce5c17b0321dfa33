#pragma once

#include "platform/host/Host.h"

#include <QStringList>

#include <functional>
#include <type_traits>

/// A host that records message boxes and the end instead of carrying them out, and whose time of
/// day a test sets. If that is invalid, it is the real one of `Base`.

using namespace Tavrel;
template <typename Base> class RecordingHost : public Base
{
public:
    using Base::MsgBox;
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override
    {
        boxes += title + (icon == MsgBoxIcon::Critical ? "! " : ": ") + text;
        if (onBox)
            onBox();
    }
    QDateTime Now() override
    {
        if constexpr (!std::is_same_v<Base, Host>) {
            if (!now.isValid())
                return Base::Now();
        }
        return now;
    }
    void End() override { ++ended; }

    QStringList boxes;              ///< "title: text", with "!" for the critical icon
    std::function<void()> onBox;    ///< what happens while a box is open
    std::function<void()> onEvents; ///< what happens while events are delivered
    int passes = 0;                 ///< how often events were delivered
    QDateTime now{QDate(2026, 3, 9), QTime(9, 5, 7)};
    int ended = 0;

protected:
    void countPass()
    {
        ++passes;
        if (const auto action = onEvents) // which may replace itself
            action();
    }
};
