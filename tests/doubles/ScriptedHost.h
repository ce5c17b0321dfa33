#pragma once

#include "platform/Host.h"

#include <QList>

#include <functional>

/// A machine that records what it is asked for and passes time only when events are delivered.
class ScriptedHost : public Host
{
public:
    struct Box {
        QString text;
        QString title;
        MsgBoxIcon icon;
        bool operator==(const Box &) const = default;
    };

    using Host::MsgBox;
    std::int32_t GetTickCount() override { return ticks; }
    void DoEvents() override
    {
        ticks = static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks) +
                                          static_cast<std::uint32_t>(ticksPerPass));
        ++passes;
        if (onEvents)
            onEvents(passes);
    }
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override
    {
        boxes.append({text, title, icon});
        if (onBox)
            onBox();
    }
    QDateTime Now() override { return now; }
    void End() override { ++ended; }

    std::int32_t ticks = 0;
    std::int32_t ticksPerPass = 10;
    int passes = 0;
    std::function<void(int pass)> onEvents; ///< what happens while events are delivered
    std::function<void()> onBox;            ///< what happens while a box is open
    QList<Box> boxes;
    QDateTime now{QDate(2026, 3, 9), QTime(9, 5, 7)};
    int ended = 0;
};
