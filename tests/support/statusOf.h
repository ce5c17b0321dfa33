#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Runs `action` in a new process, which exits with the status that it returns. Returns the status
/// from waitpid; -1 if there was no such process.
template <typename Action> int statusOf(const Action &action)
{
    const pid_t process = fork();
    if (process == 0)
        _exit(action());
    int status = -1;
    waitpid(process, &status, 0);
    return status;
}
