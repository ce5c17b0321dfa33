#include "platform/serial/TermiosComm.h"

#include "platform/basics/Failure.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The major device numbers of pseudo-terminals, from the kernel's list of devices.
constexpr unsigned FirstPseudoTerminalMajor = 136;
constexpr unsigned LastPseudoTerminalMajor = 143;

/// The maximum that one call reads from the line: as much as the kernel buffers. A line that never
/// pauses cannot block the caller.
constexpr std::size_t ReadSize = 4096;

bool isPseudoTerminal(int device)
{
    struct stat status = {};
    Failure::unless(::fstat(device, &status) == 0);
    const unsigned number = major(status.st_rdev);
    return number >= FirstPseudoTerminalMajor && number <= LastPseudoTerminalMajor;
}

/// Sets raw mode with the wanted settings. Marks are requested for every format: without them the
/// kernel passes a break or an overrun on as a byte 00, although breaks are to be ignored. In 7-bit
/// formats bit 7 is cleared, for adapters that pass it on.
void configure(int device, const LineSettings &wanted, bool pseudoTerminal)
{
    termios line = {};
    Failure::unless(::tcgetattr(device, &line) == 0);
    ::cfmakeraw(&line);
    line.c_iflag = IGNBRK | PARMRK; // discards what another program has set
    if (wanted.checksParity)
        line.c_iflag |= INPCK;
    if ((wanted.controlBits & CSIZE) == CS7)
        line.c_iflag |= ISTRIP;
    line.c_cflag &= ~(LineControlMask | CRTSCTS);
    line.c_cflag |= wanted.controlBits | CLOCAL | CREAD | HUPCL;
    line.c_cc[VMIN] = 1; // so that a read of 0 bytes means a hang-up and nothing else
    line.c_cc[VTIME] = 0;
    Failure::unless(::cfsetispeed(&line, wanted.rate) == 0);
    Failure::unless(::cfsetospeed(&line, wanted.rate) == 0);
    Failure::unless(::tcsetattr(device, TCSANOW, &line) == 0);

    // tcsetattr succeeds even if it could make only some of the changes, so rate and parity are
    // checked. A pseudo-terminal ignores them, which does no harm.
    constexpr tcflag_t ParityMask = PARENB | PARODD | CMSPAR;
    termios actual = {};
    Failure::unless(::tcgetattr(device, &actual) == 0);
    if (!pseudoTerminal && (::cfgetospeed(&actual) != wanted.rate ||
                            (actual.c_cflag & ParityMask) != (wanted.controlBits & ParityMask)))
        throw Failure::ofSystem(EINVAL);
}

FileDescriptor openDevice(const QString &path, const LineSettings &settings)
{
    FileDescriptor device(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    Failure::unless(bool(device));
    Failure::unless(::isatty(device.get())); // EIO for a node without hardware
    Failure::unless(::flock(device.get(), LOCK_EX | LOCK_NB) == 0);

    const bool pseudoTerminal = isPseudoTerminal(device.get());
    configure(device.get(), settings, pseudoTerminal);

    // Readers may be powered from these lines. A port without them returns an error, which does not
    // matter.
    const int lines = TIOCM_DTR | TIOCM_RTS;
    ::ioctl(device.get(), TIOCMBIS, &lines);
    Failure::unless(::tcflush(device.get(), TCIOFLUSH) == 0);

    // On a pseudo-terminal the exclusive mode would outlive the program.
    if (!pseudoTerminal)
        Failure::unless(::ioctl(device.get(), TIOCEXCL) == 0);
    return device;
}

} // namespace

void TermiosComm::DeleteLater::operator()(QSocketNotifier *notifier) const
{
    notifier->setEnabled(false);
    notifier->disconnect();
    notifier->deleteLater();
}

TermiosComm::TermiosComm(std::function<QString(std::int16_t)> deviceOf)
    : m_deviceOf(std::move(deviceOf))
{
}

TermiosComm::~TermiosComm()
{
    close();
}

void TermiosComm::CommPort(std::int16_t port)
{
    m_port = port;
}

void TermiosComm::Settings(const QString &settings)
{
    m_settings = parseLineSettings(settings);
}

bool TermiosComm::PortOpen() const
{
    return m_portOpen;
}

void TermiosComm::PortOpen(bool wanted)
{
    if (wanted == m_portOpen)
        return;
    if (wanted)
        open();
    else
        close();
}

std::int16_t TermiosComm::InBufferCount()
{
    receive();
    return static_cast<std::int16_t>(m_received.size());
}

QByteArray TermiosComm::Input()
{
    receive();
    return std::exchange(m_received, {});
}

void TermiosComm::Output(const QByteArray &bytes)
{
    if (!m_portOpen)
        throw Failure(ENOTCONN, u"The serial port is not open."_s);
    if (!m_device)
        throw Failure::ofSystem(EIO);
    m_unsent += bytes;
    send();
    if (!m_device)
        throw Failure::ofSystem(EIO);
}

void TermiosComm::open()
{
    m_device = openDevice(m_deviceOf(m_port), m_settings);
    m_portOpen = true;
    m_marks = {};
    m_readable.reset(new QSocketNotifier(m_device.get(), QSocketNotifier::Read));
    m_writable.reset(new QSocketNotifier(m_device.get(), QSocketNotifier::Write));
    m_writable->setEnabled(false);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, [this] { receive(); });
    QObject::connect(m_writable.get(), &QSocketNotifier::activated, [this] { send(); });
}

void TermiosComm::close()
{
    if (m_device)
        ::tcflush(m_device.get(), TCOFLUSH); // or closing waits for output that is stuck
    releaseDevice();
    m_portOpen = false;
    m_received.clear();
}

void TermiosComm::releaseDevice()
{
    m_readable.reset();
    m_writable.reset();
    m_unsent.clear();
    if (m_device)
        ::ioctl(m_device.get(), TIOCNXCL);
    m_device.reset();
}

void TermiosComm::receive()
{
    if (!m_device)
        return;
    std::array<char, ReadSize> bytes;
    const ssize_t count = ::read(m_device.get(), bytes.data(), bytes.size());
    if (count > 0) {
        m_received += m_marks.decode(QByteArray(bytes.data(), count));
        m_received.truncate(InBufferSize);
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        releaseDevice();
    }
}

void TermiosComm::send()
{
    while (m_device && !m_unsent.isEmpty()) {
        const ssize_t count = ::write(m_device.get(), m_unsent.constData(), m_unsent.size());
        if (count > 0)
            m_unsent.remove(0, count);
        else if (count == 0 || errno == EAGAIN)
            break;
        else if (errno != EINTR)
            releaseDevice();
    }
    if (m_writable)
        m_writable->setEnabled(!m_unsent.isEmpty());
}

} // namespace Tavrel
