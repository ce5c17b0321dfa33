#pragma once

#include "platform/host/Host.h"
#include "reader/CMRW.h"

#include <optional>

namespace Tavrel
{

/// Owns the window's only reader, and closes and reopens it with the stored settings. Nothing else
/// opens the reader.
class ReaderConnection
{
public:
    explicit ReaderConnection(Host &host) : m_host(host) {}

    /// Closes the port if it is open and opens the one that the settings "Comport", "BaudRate" and
    /// "Settings" name now. If it cannot be opened, or the settings cannot be used, it stays
    /// closed, silently.
    void ConnectReader();

    /// The reader, created on first use and never replaced.
    CMRW &reader();

private:
    void connectFromSettings();

    Host &m_host;
    std::optional<CMRW> m_Reader;
};

} // namespace Tavrel
