#include "platform/basics/Failure.h"
#include "platform/basics/Utf8Locale.h"
#include "tools/console/Console.h"
#include "tools/console/EndRequests.h"
#include "tools/virtual-reader/ReaderProtocol.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <chrono>
#include <optional>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

using namespace Console;

constexpr char Description[] =
    "Simulates a card reader on a pseudo-terminal.\n\n"
    "Each line of standard input is a swipe: a badge number goes on track 2; a line that begins\n"
    "with %, ; or + lists its tracks, as in %ANN;1001+7; an empty line swipes the card written\n"
    "last. If no program reads the line, bytes that do not fit into its buffer are dropped. The\n"
    "end of input, Ctrl-C or a signal unplugs the reader.\n\n"
    "A line that begins with ! sets how the reader answers from now on, or cuts a swipe short:\n"
    "  !answer MANNER          like the option --answer\n"
    "  !block-check on|off     like the option --block-check\n"
    "  !begin LINE             sends the swipe of LINE without its last two bytes\n\n"
    "The exit status is 0 on success, 1 on failure, 2 if the command line is invalid.";

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

/// Between the 11th and the 16th of the driver's polls for the answer to a command.
constexpr std::chrono::milliseconds LateAnswer{1450};

std::optional<ReaderProtocol::Manner> mannerOf(const QString &name)
{
    for (const MannerName &known : Manners) {
        if (name == QLatin1String(known.name))
            return known.manner;
    }
    return {};
}

class Session
{
public:
    Session(ReaderProtocol protocol, const QString &link) : m_protocol(std::move(protocol))
    {
        m_reader.linkAt(link);
        say(u"ready: "_s + m_reader.device());
        QObject::connect(&m_asked, &QSocketNotifier::activated, [this] { answer(); });
        QObject::connect(&m_typed, &QSocketNotifier::activated, [this] { readInput(); });
        QObject::connect(&m_ending, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    }

private:
    void answer()
    {
        for (const ReaderProtocol::Reply &reply : m_protocol.receive(m_reader.receive())) {
            say(reply.request.toHex(' ').toUpper() + u": "_s + reply.event);
            if (reply.late)
                QTimer::singleShot(LateAnswer, &m_asked, [this, reply] { send(reply.answer); });
            else
                send(reply.answer);
        }
    }

    void send(const QByteArray &bytes)
    {
        if (const qsizetype dropped = bytes.size() - m_reader.send(bytes); dropped > 0)
            complain(u"no program reads the line: %1 of %2 bytes dropped"_s.arg(dropped).arg(
                bytes.size()));
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
        if (!line.startsWith(u'!')) {
            send(line.isEmpty() ? m_protocol.card() : swipeFrame(line));
            return;
        }
        const QString command = line.toLower().simplified();
        const QString argument = command.section(u' ', 1);
        const auto manner = mannerOf(argument);
        if (command.startsWith(u"!answer ") && manner)
            m_protocol.manner = *manner;
        else if (command == u"!block-check on" || command == u"!block-check off")
            m_protocol.blockCheck = argument == u"on";
        else if (command.startsWith(u"!begin "))
            send(swipeFrame(line.section(u' ', 1)).chopped(2));
        else
            complain(u"Invalid command \"%1\"; expected for example !answer nak."_s.arg(line));
    }

    ReaderProtocol m_protocol;
    EndRequests m_endRequests; ///< outlives the reader, so that no signal interrupts its clean-up
    VirtualReader m_reader;
    QSocketNotifier m_asked{m_reader.descriptor(), QSocketNotifier::Read};
    QSocketNotifier m_typed{STDIN_FILENO, QSocketNotifier::Read};
    QSocketNotifier m_ending{m_endRequests.descriptor(), QSocketNotifier::Read};
    QByteArray m_input;
};

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    chooseUtf8Locale();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    const QCommandLineOption link(
        u"link"_s,
        u"Create this link to the reader's device, for example COM1 in a clock's "
        "settings folder."_s,
        u"path"_s);
    const QCommandLineOption blockCheck(u"block-check"_s,
                                        u"Expect a block check byte in frames to write."_s);
    const QCommandLineOption answer(u"answer"_s,
                                    u"Answer with accept, nak, 29, one-byte, late or never. "
                                    "Default: accept."_s,
                                    u"manner"_s, u"accept"_s);
    parser.addOptions({link, blockCheck, answer});

    return run(parser, [&] {
        if (!parser.positionalArguments().isEmpty())
            throw Mistake{u"Unexpected argument \"%1\"."_s.arg(parser.positionalArguments()[0])};
        const auto manner = mannerOf(parser.value(answer).toLower());
        if (!manner)
            throw Mistake{
                u"Invalid --answer \"%1\"; expected accept, nak, 29, one-byte, late or never."_s
                    .arg(parser.value(answer))};
        if (parser.value(link).isEmpty())
            throw Mistake{u"Missing --link; expected for example --link ~/.config/Tavrel/COM1."_s};

        ReaderProtocol protocol;
        protocol.blockCheck = parser.isSet(blockCheck);
        protocol.manner = *manner;
        const Session session(std::move(protocol), parser.value(link));
        return QCoreApplication::exec();
    });
}
