#pragma once

#include "platform/host/Host.h"
#include "reader/CMRW.h"

#include <optional>

namespace Tavrel
{

/// Holds the window's one reader, and closes and reopens it from the stored settings. It is the
/// only path that opens the reader.
class ReaderConnection
{
public:
    explicit ReaderConnection(Host &host) : m_host(host) {}

    /// Closes the port if it is open and opens the one that the settings "Comport", "BaudRate"
    /// and "Settings" name now. A port that cannot be opened, and settings that cannot be used,
    /// leave it closed, silently.
    void ConnectReader();

    /// The reader, made at its first use and never replaced.
    CMRW &reader();

private:
    void connectFromSettings();

    Host &m_host;
    std::optional<CMRW> m_Reader;
};

} // namespace Tavrel
