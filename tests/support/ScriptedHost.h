#pragma once

#include "tests/support/RecordingHost.h"

#include <map>

using namespace Tavrel;

/// A host whose time passes only while a caller waits for events: by ticksPerPass milliseconds, or
/// less if the caller's wait or the time to the next scripted action is shorter.
class ScriptedHost : public RecordingHost<Host>
{
public:
    std::int32_t GetTickCount() override { return static_cast<std::int32_t>(ticks); }
    void DoEvents(std::int32_t longestWait) override
    {
        constexpr int MostPasses = 100000;
        if (passes == MostPasses)
            qFatal("a wait without end");
        ticks += std::min(ticksPerPass, static_cast<std::uint32_t>(longestWait));
        if (!script.empty() && script.begin()->first <= ticks) {
            const auto event = script.extract(script.begin());
            ticks = event.key();
            event.mapped()();
        }
        countPass();
    }

    std::uint32_t ticks = 0;
    std::uint32_t ticksPerPass = 10;
    std::map<std::uint32_t, std::function<void()>> script; ///< what happens at which tick
};
