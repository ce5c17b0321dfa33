#pragma once

#include "tests/doubles/RecordingHost.h"

/// A machine where time passes only when events are delivered.
class ScriptedHost : public RecordingHost<Host>
{
public:
    std::int32_t GetTickCount() override { return static_cast<std::int32_t>(ticks); }
    void DoEvents() override
    {
        ticks += ticksPerPass;
        countPass();
    }

    std::uint32_t ticks = 0;
    std::uint32_t ticksPerPass = 10;
};
