#pragma once

#include "reader/CMRW.h"
#include "tests/support/ScriptedComm.h"
#include "tests/support/ScriptedHost.h"

#include <array>

using namespace Tavrel;

/// A driver on an open scripted link.
struct ReaderBench {
    ReaderBench() { comm.open = true; }

    std::int32_t read(int timeout = 200)
    {
        return driver.ReadTracks(static_cast<std::int16_t>(timeout), tracks[0], tracks[1],
                                 tracks[2]);
    }

    std::int32_t write(const QStringList &texts)
    {
        return driver.WriteTracks(1, texts[0], texts[1], texts[2]);
    }

    ScriptedHost host;
    ScriptedComm comm;
    CMRW driver{host, comm};
    std::array<QString, 3> tracks{"a", "b", "c"};
};
