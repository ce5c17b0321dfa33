#pragma once

#include "platform/basics/FileDescriptor.h"

#include <signal.h>
#include <sys/signalfd.h>

/// The requests of a user or of the system that the program end, by Ctrl-C or a signal, as a
/// descriptor that can be read. While it lives these signals do nothing else.
class EndRequests
{
public:
    EndRequests()
    {
        sigemptyset(&m_signals);
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&m_signals, number);
        sigprocmask(SIG_BLOCK, &m_signals, &m_before);
        m_requests = FileDescriptor(signalfd(-1, &m_signals, SFD_CLOEXEC));
    }

    /// Discards the requests that have come: they were met and must not end the process.
    ~EndRequests()
    {
        const timespec noWait = {};
        while (sigtimedwait(&m_signals, nullptr, &noWait) > 0) {
        }
        sigprocmask(SIG_SETMASK, &m_before, nullptr);
    }
    EndRequests(const EndRequests &) = delete;
    EndRequests &operator=(const EndRequests &) = delete;

    int descriptor() const { return m_requests.get(); }

private:
    sigset_t m_signals;
    sigset_t m_before;
    FileDescriptor m_requests;
};
