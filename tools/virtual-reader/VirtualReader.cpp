#include "tools/virtual-reader/VirtualReader.h"

#include "platform/basics/Failure.h"
#include "reader/Frames.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace Tavrel
{

using namespace Qt::StringLiterals;

VirtualReader::VirtualReader()
    : m_reader(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    Failure::unless(bool(m_reader));
    Failure::unless(::grantpt(m_reader.get()) == 0 && ::unlockpt(m_reader.get()) == 0);
    std::array<char, 64> name;
    Failure::unless(::ptsname_r(m_reader.get(), name.data(), name.size()) == 0);
    m_device = QFile::decodeName(name.data());

    // Raw from the start: the line must not echo before a clock opens it.
    m_clockSide = FileDescriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    Failure::unless(bool(m_clockSide));
    termios line = {};
    Failure::unless(::tcgetattr(m_clockSide.get(), &line) == 0);
    ::cfmakeraw(&line);
    Failure::unless(::tcsetattr(m_clockSide.get(), TCSANOW, &line) == 0);
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
    if (::symlink(QFile::encodeName(m_device), QFile::encodeName(path)) != 0) {
        const QString why = Failure::ofSystem(errno).description;
        const QFileInfo folder(QFileInfo(path).absolutePath());
        throw Failure(Failure::PathFileAccess,
                      u"cannot create the link \"%1\": %2"_s.arg(
                          path, folder.exists() ? why : u"no folder "_s + folder.filePath()));
    }
    m_link = path;
}

qsizetype VirtualReader::send(const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::write(m_reader.get(), bytes.constData() + sent, bytes.size() - sent);
        if (count < 0 && errno == EAGAIN)
            break;
        Failure::unless(count >= 0 || errno == EINTR);
        sent += std::max<ssize_t>(count, 0);
    }
    return sent;
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
        Failure::unless(count >= 0);
        received.append(bytes.data(), count);
    }
}

QByteArray swipeFrame(const QString &line)
{
    static const QRegularExpression spelled(
        u"^(?=[%;+])(?:%(.*?)[?<]?)?(?:;(.*?)[?<]?)?(?:\\+(.*?)[?<]?)?$"_s);

    QByteArray frame(1, Frames::Stx);
    const auto addTrack = [&frame](std::size_t track, const QString &text) {
        frame +=
            Frames::DefaultStartSentinels[track] + text.toLatin1() + Frames::DefaultEndSentinels[0];
    };
    if (const auto match = spelled.match(line); match.hasMatch()) {
        for (int track = 0; track < Frames::TrackCount; ++track) {
            if (match.hasCaptured(track + 1))
                addTrack(track, match.captured(track + 1));
        }
    } else {
        addTrack(1, line);
    }
    return frame + Frames::Etx;
}

} // namespace Tavrel
