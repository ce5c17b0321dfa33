#include "tools/VirtualReader.h"

#include "platform/Failure.h"
#include "reader/Frames.h"

#include <QFile>
#include <QRegularExpression>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace
{

void require(bool succeeded)
{
    if (!succeeded)
        throw Failure::ofSystem(errno);
}

} // namespace

VirtualReader::VirtualReader() : m_reader(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    require(bool(m_reader));
    require(::grantpt(m_reader.get()) == 0 && ::unlockpt(m_reader.get()) == 0);
    std::array<char, 64> name;
    require(::ptsname_r(m_reader.get(), name.data(), name.size()) == 0);
    m_device = QFile::decodeName(name.data());

    // Raw from the start: a line that nobody has opened yet must not echo.
    m_clockSide = FileDescriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    require(bool(m_clockSide));
    termios line = {};
    require(::tcgetattr(m_clockSide.get(), &line) == 0);
    ::cfmakeraw(&line);
    require(::tcsetattr(m_clockSide.get(), TCSANOW, &line) == 0);
}

VirtualReader::~VirtualReader()
{
    if (!m_link.isEmpty() && QFile::symLinkTarget(m_link) == m_device)
        QFile::remove(m_link);
}

void VirtualReader::linkAt(const QString &path)
{
    if (QFile::symLinkTarget(path).startsWith(u"/dev/pts/"))
        QFile::remove(path);
    if (!QFile::link(m_device, path))
        throw Failure(Failure::PathFileAccess);
    m_link = path;
}

void VirtualReader::send(const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::write(m_reader.get(), bytes.constData() + sent, bytes.size() - sent);
        require(count >= 0 || errno == EINTR);
        sent += std::max<ssize_t>(count, 0);
    }
}

QByteArray VirtualReader::receive(qsizetype atLeast)
{
    QByteArray received;
    std::array<char, 4096> bytes;
    for (;;) {
        pollfd line{m_reader.get(), POLLIN, 0};
        const int wait = received.size() < atLeast ? -1 : 0;
        if (::poll(&line, 1, wait) <= 0)
            return received;
        const ssize_t count = ::read(m_reader.get(), bytes.data(), bytes.size());
        require(count >= 0);
        received.append(bytes.data(), count);
    }
}

QByteArray swipeFrame(const QString &line)
{
    static const QRegularExpression spelled(
        QStringLiteral("^(?=[%;+])(?:%(.*?)[?<]?)?(?:;(.*?)[?<]?)?(?:\\+(.*?)[?<]?)?$"));

    Frames::Tracks tracks;
    if (const auto match = spelled.match(line); match.hasMatch())
        tracks = {match.captured(1), match.captured(2), match.captured(3)};
    else
        tracks[1] = line;
    return Frames::buildTracks(tracks, Frames::DefaultStartSentinels,
                               Frames::DefaultEndSentinels[0], false);
}
