#include "platform/Failure.h"
#include "tools/EndRequests.h"
#include "tools/ReaderProtocol.h"
#include "tools/VirtualReader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <chrono>
#include <iostream>

namespace
{

constexpr char Description[] =
    "A card reader without hardware, at the far end of a pseudo-terminal.\n\n"
    "Each line of the standard input is a swipe: a badge number goes on track 2; a line that\n"
    "begins with %, ; or + spells its tracks, as in %ANN;1001+7; an empty line swipes the card\n"
    "that was written last. The end of the input pulls the reader out.\n\n"
    "A line may also tell how to answer from now on:\n"
    "  !answer MANNER          as the option --answer\n"
    "  !block-check on|off     as the option --block-check";

struct MannerName {
    const char *name;
    ReaderProtocol::Manner manner;
};

constexpr std::array Manners{
    MannerName{"accept", ReaderProtocol::Manner::Accept},
    MannerName{"nak", ReaderProtocol::Manner::Nak},
    MannerName{"29", ReaderProtocol::Manner::NoCard},
    MannerName{"one-byte", ReaderProtocol::Manner::OneByte},
    MannerName{"late", ReaderProtocol::Manner::Late},
    MannerName{"never", ReaderProtocol::Manner::Never},
};

/// Between the eleventh and the sixteenth look that a command's sender takes for its answer.
constexpr std::chrono::milliseconds LateAnswer{1450};

void say(const QString &line)
{
    std::cout << qPrintable(line) << std::endl;
}

void complain(const QString &why)
{
    std::cerr << "virtual-reader: " << qPrintable(why) << std::endl;
}

bool setManner(ReaderProtocol &protocol, const QString &name)
{
    for (const MannerName &known : Manners) {
        if (name == QLatin1String(known.name)) {
            protocol.manner = known.manner;
            return true;
        }
    }
    complain(QStringLiteral("no such manner of answering: ") + name);
    return false;
}

class Session
{
public:
    Session(ReaderProtocol protocol, const QString &link) : m_protocol(std::move(protocol))
    {
        m_reader.linkAt(link);
        say(QStringLiteral("ready: ") + m_reader.device());
        QObject::connect(&m_asked, &QSocketNotifier::activated, [this] { answer(); });
        QObject::connect(&m_typed, &QSocketNotifier::activated, [this] { readInput(); });
        QObject::connect(&m_ending, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    }

private:
    void answer()
    {
        for (const ReaderProtocol::Reply &reply : m_protocol.receive(m_reader.receive())) {
            say(reply.request.toHex(' ').toUpper() + QStringLiteral(": ") + reply.event);
            if (reply.late)
                QTimer::singleShot(LateAnswer, &m_asked,
                                   [this, reply] { m_reader.send(reply.answer); });
            else
                m_reader.send(reply.answer);
        }
    }

    void readInput()
    {
        std::array<char, 4096> bytes;
        const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
        if (count <= 0) {
            QCoreApplication::quit();
            return;
        }
        m_input.append(bytes.data(), count);
        for (qsizetype end = m_input.indexOf('\n'); end >= 0; end = m_input.indexOf('\n')) {
            try {
                obey(QString::fromUtf8(m_input.left(end)).trimmed());
            } catch (const Failure &failure) {
                complain(failure.description);
            }
            m_input.remove(0, end + 1);
        }
    }

    void obey(const QString &line)
    {
        const QString argument = line.section(u' ', 1).trimmed();
        if (line.startsWith(u"!answer"))
            setManner(m_protocol, argument);
        else if (line.startsWith(u"!block-check"))
            m_protocol.blockCheck = argument == u"on";
        else
            m_reader.send(line.isEmpty() ? m_protocol.card() : swipeFrame(line));
    }

    ReaderProtocol m_protocol;
    VirtualReader m_reader;
    EndRequests m_endRequests;
    QSocketNotifier m_asked{m_reader.descriptor(), QSocketNotifier::Read};
    QSocketNotifier m_typed{STDIN_FILENO, QSocketNotifier::Read};
    QSocketNotifier m_ending{m_endRequests.descriptor(), QSocketNotifier::Read};
    QByteArray m_input;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    parser.addHelpOption();
    const QCommandLineOption link(
        QStringLiteral("link"),
        QStringLiteral("Link to the reader's device, for example the COM1 in a clock's settings "
                       "folder."),
        QStringLiteral("path"));
    const QCommandLineOption blockCheck(
        QStringLiteral("block-check"),
        QStringLiteral("Expect a block check byte in what is written."));
    const QCommandLineOption answer(
        QStringLiteral("answer"),
        QStringLiteral("Answer by accept, nak, 29, one-byte, late or never."),
        QStringLiteral("manner"), QStringLiteral("accept"));
    parser.addOptions({link, blockCheck, answer});
    parser.process(application);

    ReaderProtocol protocol;
    protocol.blockCheck = parser.isSet(blockCheck);
    if (!setManner(protocol, parser.value(answer)))
        return 2;
    if (!parser.isSet(link)) {
        complain(QStringLiteral("tell where to link the device with --link"));
        return 2;
    }

    try {
        const Session session(std::move(protocol), parser.value(link));
        return QCoreApplication::exec();
    } catch (const Failure &failure) {
        complain(failure.description);
        return 1;
    }
}
