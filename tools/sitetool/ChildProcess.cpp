#include "tools/sitetool/ChildProcess.h"

#include "platform/basics/FileDescriptor.h"
#include "tools/console/EndRequests.h"
#include "tools/sitetool/NotDone.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>

namespace
{

constexpr int LongestStandstill = 30'000; // milliseconds

struct Pipe {
    FileDescriptor read;
    FileDescriptor write;

    Pipe()
    {
        std::array<int, 2> ends = {};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw NotDone{QStringLiteral("The system gives no pipe.")};
        read = FileDescriptor(ends[0]);
        write = FileDescriptor(ends[1]);
    }
};

[[noreturn]] void beChild(const std::function<void()> &work, const Pipe &output, const Pipe &errors)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(output.write.get(), STDOUT_FILENO);
    ::dup2(errors.write.get(), STDERR_FILENO);
    ::clearenv();
    try {
        work();
    } catch (const NotDone &notDone) {
        std::cerr << notDone.why.toStdString() << std::endl;
    }
    std::cout << std::flush;
    std::_Exit(EXIT_SUCCESS);
}

/// Reads what is there; false at the end.
bool readInto(QByteArray &text, int descriptor)
{
    std::array<char, 4096> buffer = {};
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count > 0)
        text.append(buffer.data(), count);
    return count > 0;
}

} // namespace

ChildProcess::Result ChildProcess::run(const std::function<void()> &work)
{
    const EndRequests endRequests;
    Pipe output;
    Pipe errors;
    const pid_t child = ::fork();
    if (child < 0)
        throw NotDone{QStringLiteral("The system gives no process.")};
    if (child == 0)
        beChild(work, output, errors);
    output.write.reset();
    errors.write.reset();

    Result result;
    QByteArray said;
    std::array<pollfd, 3> waits = {{{output.read.get(), POLLIN, 0},
                                    {errors.read.get(), POLLIN, 0},
                                    {endRequests.descriptor(), POLLIN, 0}}};
    while (result.complaint.isEmpty() && (waits[0].fd >= 0 || waits[1].fd >= 0)) {
        const int ready = ::poll(waits.data(), waits.size(), LongestStandstill);
        if (ready < 0)
            continue; // interrupted
        if (ready == 0)
            result.complaint = QStringLiteral("Reading it does not come to an end.");
        if (waits[0].revents != 0 && !readInto(result.output, waits[0].fd))
            waits[0].fd = -1; // poll passes over it
        if (waits[1].revents != 0 && !readInto(said, waits[1].fd))
            waits[1].fd = -1;
        if (waits[2].revents != 0)
            result.complaint = QStringLiteral("It was broken off.");
        result.output.replace(Progress, "");
    }
    if (!result.complaint.isEmpty())
        ::kill(child, SIGKILL);

    int status = 0;
    ::waitpid(child, &status, 0);
    if (result.complaint.isEmpty())
        result.complaint = QString::fromLocal8Bit(said.trimmed());
    if (result.complaint.isEmpty() && status != 0)
        result.complaint = QStringLiteral("Reading it ended by signal %1: the file is damaged.")
                               .arg(WTERMSIG(status));
    return result;
}
