#pragma once

#include "platform/host/Host.h"

namespace Tavrel
{

/// The real machine without windows: the monotonic clock, the local time and the event loop of the
/// thread, which must exist. Derived classes implement the message boxes.
class EventLoopHost : public Host
{
public:
    std::int32_t GetTickCount() override;
    void DoEvents(std::int32_t longestWait = 0) override;
    QDateTime Now() override;
    void End() override;
    using Host::MsgBox;
};

} // namespace Tavrel
