#pragma once

#include "reader/CMRW.h"
#include "tests/doubles/ScriptedComm.h"
#include "tests/doubles/ScriptedHost.h"

#include <array>

/// A driver on an open scripted link.
struct ReaderBench {
    ReaderBench() { comm.open = true; }

    std::int32_t read(std::int16_t timeout = 200)
    {
        return driver.ReadTracks(timeout, tracks[0], tracks[1], tracks[2]);
    }

    ScriptedHost host;
    ScriptedComm comm;
    CMRW driver{host, comm};
    std::array<QString, 3> tracks{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
};
