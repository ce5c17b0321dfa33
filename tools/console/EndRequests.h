#pragma once

#include "platform/basics/FileDescriptor.h"

#include <signal.h>
#include <sys/signalfd.h>

namespace Tavrel
{

/// A descriptor that becomes readable when Ctrl-C, SIGTERM or SIGHUP asks the program to end. These
/// signals are blocked from construction on, so that a second Ctrl-C does not end the process
/// before it has reported why it ends.
class EndRequests
{
public:
    EndRequests()
    {
        sigemptyset(&m_signals);
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&m_signals, number);
        sigprocmask(SIG_BLOCK, &m_signals, nullptr);
        m_requests = FileDescriptor(signalfd(-1, &m_signals, SFD_CLOEXEC));
    }

    EndRequests(const EndRequests &) = delete;
    EndRequests &operator=(const EndRequests &) = delete;

    int descriptor() const { return m_requests.get(); }

private:
    sigset_t m_signals;
    FileDescriptor m_requests;
};

} // namespace Tavrel
