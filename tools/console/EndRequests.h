#pragma once

#include "platform/basics/FileDescriptor.h"

#include <signal.h>
#include <sys/signalfd.h>

namespace Tavrel
{

/// The requests of a user or of the system that the program end, by Ctrl-C or a signal, as a
/// descriptor that can be read. From its making on these signals do nothing else: a second Ctrl-C
/// must not end the process before it has said why.
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
