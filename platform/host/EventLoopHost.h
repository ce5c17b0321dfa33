#pragma once

#include "platform/host/Host.h"

namespace Tavrel
{

/// The real machine, as far as it goes without windows: the monotonic clock, the local time and
/// the event loop of the thread, which must exist. Message boxes are left to the kind of program
/// that runs on it.
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
