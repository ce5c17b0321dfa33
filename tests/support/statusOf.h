#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Runs `action` in a process of its own, which ends with the status that it returns, and returns
/// what waitpid says of that end; -1 when there was no such process.
template <typename Action> int statusOf(const Action &action)
{
    const pid_t process = fork();
    if (process == 0)
        _exit(action());
    int status = -1;
    waitpid(process, &status, 0);
    return status;
}
