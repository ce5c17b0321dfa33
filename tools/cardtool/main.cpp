#include "app/settings/Choices.h"
#include "app/settings/SerialDevice.h"
#include "platform/basics/Failure.h"
#include "platform/basics/Utf8Locale.h"
#include "platform/host/WindowlessHost.h"
#include "platform/serial/TermiosComm.h"
#include "reader/CMRW.h"
#include "tools/cardtool/ReaderLink.h"
#include "tools/console/Console.h"
#include "tools/console/EndRequests.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <iostream>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

using namespace Console;

constexpr char Description[] =
    "Reads and writes cards, and configures the card reader.\n\n"
    "Commands:\n"
    "  read                wait for a swipe and show its tracks\n"
    "  write T1 [T2 [T3]]  write the tracks on the next card; an empty string, '', skips a\n"
    "                      track. Track 1 accepts spaces, capital letters, digits and symbols\n"
    "                      (codes 32 to 95), tracks 2 and 3 digits and :;<=> (48 to 62)\n"
    "  info                show how the reader identifies itself, as hex and as text\n"
    "  set-line SETTINGS   set the reader's rate (1200, 2400, 4800, 9600) and parity (o, e, m,\n"
    "                      s, n), for example 9600,e, and its block check. Data and stop bits\n"
    "                      may follow, as in 9600,e,8,1, but are not sent\n\n"
    "Ctrl-C stops waiting for a card. Put -- before a text that begins with -. Characters that\n"
    "cannot be printed are shown in the form \\x1B, and a backslash as \\\\.\n"
    "The exit status is 0 on success, 1 on failure, 2 if the command line is invalid.";

constexpr char CheckLine[] = "check that --settings matches the reader's rate and parity.";
constexpr char CheckAll[] = "check that --settings matches the reader's rate and parity, and that "
                            "--block-check is given only if the reader expects a block check.";

struct Options {
    QCommandLineOption port{u"port"_s,
                            u"The reader's port: COM1, COM2, ... or the path of a "
                            "device. Default: COM1."_s,
                            u"port"_s, u"COM1"_s};
    QCommandLineOption settings{u"settings"_s,
                                u"Rate, parity, data bits and stop bits of the "
                                "line. Default: 9600,N,8,1."_s,
                                u"settings"_s, u"9600,N,8,1"_s};
    QCommandLineOption blockCheck{u"block-check"_s, u"Write with a block check byte."_s};
    QCommandLineOption deviceType{u"device-type"_s,
                                  u"0 to end written tracks with ?, 1 with <. "
                                  "Default: 0."_s,
                                  u"type"_s, u"0"_s};
    QCommandLineOption bcc{u"bcc"_s,
                           u"set-line: whether the reader is to expect a block check "
                           "byte, on or off. Default: off."_s,
                           u"on|off"_s, u"off"_s};
    QCommandLineOption oldParity{u"old-parity"_s,
                                 u"set-line: the reader's current parity, as a letter. "
                                 "Default: that of --settings."_s,
                                 u"letter"_s};
};

struct Parity {
    char letter;
    const char *name;
};

/// The driver sends the same for s and n.
constexpr std::array Parities{
    Parity{'o', "odd parity"},         Parity{'e', "even parity"},
    Parity{'m', "mark parity"},        Parity{'s', "no or space parity"},
    Parity{'n', "no or space parity"},
};

/// The SETTINGS of set-line in lower case: rate, parity letter and, if given, the other bits.
struct ReaderLine {
    explicit ReaderLine(const QString &text)
        : rate(text.section(u',', 0, 0)), bits(text.section(u',', 2)),
          parity(*std::ranges::find(Parities, text.section(u',', 1, 1), [](const Parity &known) {
              return QString(QLatin1Char(known.letter));
          }))
    {
    }

    /// Whether the clock's Options offer this line. Bits that are not given match any.
    bool suitsClock() const
    {
        const auto begins = [](const QString &text) {
            return [text](const char *choice) { return QLatin1String(choice).startsWith(text); };
        };
        const QString format = QLatin1Char(parity.letter) + u","_s + bits;
        return std::ranges::any_of(Choices::BaudRates, begins(rate)) &&
               std::ranges::any_of(Choices::LineFormats, begins(format.toUpper()));
    }

    QString rate;
    QString bits;
    Parity parity;
};

/// Lists the tracks that differ from `absent`, as in "track 1 ANN, track 2 (empty)".
QString describe(const Frames::Tracks &tracks, const QString &absent)
{
    QStringList described;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (tracks[i] != absent)
            described +=
                u"track %1 "_s.arg(i + 1) + (tracks[i].isEmpty() ? u"(empty)"_s : tracks[i]);
    }
    return described.isEmpty() ? u"no track"_s : described.join(u", ");
}

QString hex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

/// The driver's own description of a result.
QString textOf(const CMRW &driver, std::int32_t result)
{
    QString text;
    driver.ErrorDescription(result, text);
    return text;
}

/// One run of the tool on an open port.
class Run
{
public:
    Run(WindowlessHost &host, ReaderLink &link, CMRW &driver)
        : m_host(host), m_link(link), m_driver(driver)
    {
    }

    Status read()
    {
        constexpr std::int16_t NoTimeout = 0;
        const QString absent(u'\uFFFF'); // no byte decodes to it
        promptOnWaiting("Swipe a card, or press Ctrl-C.");
        Frames::Tracks tracks{absent, absent, absent};
        const auto result = m_driver.ReadTracks(NoTimeout, tracks[0], tracks[1], tracks[2]);
        return end(result, u"Read "_s + describe(tracks, absent));
    }

    Status write(const Frames::Tracks &tracks)
    {
        promptOnWaiting("Swipe the card to write, or press Ctrl-C.");
        const auto result = m_driver.WriteTracks(0, tracks[0], tracks[1], tracks[2]);
        if (result == CMRW::Cancelled)
            return complain(u"Cancelled. The reader may still be waiting to write "
                            "this text on the next card. If a swipe had no "
                            "effect, "_s +
                            CheckAll);
        return end(result, u"Wrote "_s + describe(tracks, {}));
    }

    Status info()
    {
        QByteArray answer;
        const auto result = m_driver.DownloadCommand(answer);
        return end(result, hex(answer) + u"  "_s + QString::fromLatin1(answer));
    }

    Status setLine(const QString &settings, bool blockCheck, const QString &oldParity)
    {
        const auto result =
            m_driver.SetBaudRate_BCC(settings, blockCheck ? True : False, oldParity);
        const ReaderLine line(settings);
        const Status status =
            end(result, u"The reader is set to %1 baud, %2, block check %3. From now "
                        "on use --settings %1,%4,D,S%5, where D and S are the "
                        "reader's own data and stop bits, which were not sent."_s.arg(
                            line.rate, QLatin1String(line.parity.name),
                            blockCheck ? QLatin1String("on") : QLatin1String("off"),
                            QString(QLatin1Char(line.parity.letter)).toUpper(),
                            blockCheck ? QLatin1String(" --block-check") : QLatin1String()));
        if (status == Succeeded && !line.suitsClock())
            complain(u"Warning: the clock cannot use these settings. It supports 9600, "
                     "4800 or 2400 with N,8,1, O,7,1 or S,7,1."_s);
        return status;
    }

private:
    /// Prints `prompt` once the driver waits for events, but not if it fails before.
    void promptOnWaiting(const char *prompt)
    {
        QTimer::singleShot(0, &m_waiting, [prompt] { std::cerr << prompt << '\n'; });
    }

    /// Prints `done`, or why the operation failed.
    Status end(std::int32_t result, const QString &done)
    {
        const QString why = whyNot(result);
        if (!why.isEmpty())
            return complain(why);
        say(done);
        return Succeeded;
    }

    /// Why an operation failed, and what to check; empty if it succeeded.
    QString whyNot(std::int32_t result)
    {
        const QByteArray &answer = m_link.answer();
        if (!m_link.failure().isEmpty())
            return m_link.failure();
        if (!m_host.boxText.isEmpty()) {
            // The driver found an answer too short or too long, and its box does not say which.
            if (answer.isEmpty())
                return m_host.boxText;
            if (answer.size() == 1)
                return u"Incomplete answer: %1; "_s.arg(hex(answer)) + CheckLine;
            return u"Answer too long: %1 bytes; "_s.arg(answer.size()) + CheckLine;
        }
        switch (result) {
        case CMRW::Success:
            return {};
        case CMRW::Cancelled:
            return u"Cancelled."_s;
        case CMRW::TimeOut:
            return (m_link.hasUnread() ? u"%1: the reader answered too late; "_s
                                       : u"%1: no answer, the reader may be off; "_s)
                       .arg(m_link.name()) +
                   CheckLine;
        case CMRW::NotConnected:
            if (answer.startsWith(Frames::Stx))
                return u"The reader refused (NAK); "_s + CheckAll;
            return u"Unexpected answer: %1; "_s.arg(hex(answer)) + CheckLine;
        case CMRW::InvalidCard:
            return textOf(m_driver, result) + u" The reader refused (NAK); "_s + CheckAll;
        default:
            return textOf(m_driver, result);
        }
    }

    WindowlessHost &m_host;
    ReaderLink &m_link;
    CMRW &m_driver;
    QObject m_waiting; ///< destroyed with the run, and a pending prompt with it
};

const QRegularExpression &comPort()
{
    static const QRegularExpression name(u"^COM([1-9][0-9]{0,3})$"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    return name;
}

/// The reader's current parity letter.
QString oldParity(const QCommandLineParser &parser, const Options &options)
{
    return parser.isSet(options.oldParity)
               ? parser.value(options.oldParity).toLower()
               : parser.value(options.settings).section(u',', 1, 1).toLower();
}

constexpr std::array Commands{
    Command{"read", 0, 0, "no text"},
    Command{"write", 1, 3, "one to three texts"},
    Command{"info", 0, 0, "no text"},
    Command{"set-line", 1, 1, "one text"},
};

/// Throws Mistake if the command line is invalid.
void check(const QCommandLineParser &parser, const Options &options)
{
    static const QRegularExpression readerLine(u"^(1200|2400|4800|9600),[oemsn](,[78],[12])?$"_s,
                                               QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression parityLetter(u"^[oemsn]$"_s);

    const QStringList arguments = parser.positionalArguments();
    const QLatin1StringView name(commandOf(Commands, arguments).name);

    const QString port = parser.value(options.port);
    const QString settings = parser.value(options.settings);
    if (!comPort().match(port).hasMatch() && !port.contains(u'/'))
        throw Mistake{
            u"Invalid --port \"%1\"; expected for example COM1 or /dev/ttyUSB0."_s.arg(port)};
    try {
        parseLineSettings(settings);
    } catch (const Failure &) {
        throw Mistake{
            u"Invalid --settings \"%1\"; expected for example 9600,N,8,1."_s.arg(settings)};
    }
    if (!QStringList{"0", "1"}.contains(parser.value(options.deviceType)))
        throw Mistake{u"Invalid --device-type \"%1\"; expected 0 or 1."_s.arg(
            parser.value(options.deviceType))};
    if (name != u"set-line")
        return;
    if (!readerLine.match(arguments[1]).hasMatch())
        throw Mistake{u"Invalid SETTINGS \"%1\"; expected for example 9600,e."_s.arg(arguments[1])};
    if (!QStringList{"on", "off"}.contains(parser.value(options.bcc), Qt::CaseInsensitive))
        throw Mistake{
            u"Invalid --bcc \"%1\"; expected on or off."_s.arg(parser.value(options.bcc))};
    if (!parityLetter.match(oldParity(parser, options)).hasMatch())
        throw Mistake{u"Invalid --old-parity \"%1\"; expected o, e, m, s or n."_s.arg(
            oldParity(parser, options))};
}

/// Opens the port and runs the command of a valid command line.
Status perform(const QCommandLineParser &parser, const Options &options)
{
    QStringList arguments = parser.positionalArguments();
    const QString command = arguments.takeFirst().toLower();
    const QString port = parser.value(options.port);
    const auto number = comPort().match(port).captured(1);
    const QString device = number.isEmpty() ? port : serialDevice(number.toShort());

    WindowlessHost host;
    ReaderLink link(device, number.isEmpty() ? device : u"COM%1 (%2)"_s.arg(number, device));
    CMRW driver(host, link);
    driver.CommPort(number.isEmpty() ? 1 : number.toInt());
    driver.Settings(parser.value(options.settings));
    driver.DeviceType(parser.value(options.deviceType).toInt());
    driver.BCC(parser.isSet(options.blockCheck) ? True : False);

    const EndRequests endRequests;
    QSocketNotifier endRequested(endRequests.descriptor(), QSocketNotifier::Read);
    QObject::connect(&endRequested, &QSocketNotifier::activated, [&] {
        endRequested.setEnabled(false);
        driver.Cancel();
    });

    if (const auto result = driver.Connect(); result != CMRW::Success)
        return complain(textOf(driver, result) + u' ' + link.failure());
    Run run(host, link, driver);
    Status status = Failed;
    if (command == u"read")
        status = run.read();
    else if (command == u"write")
        status = run.write({arguments.value(0), arguments.value(1), arguments.value(2)});
    else if (command == u"info")
        status = run.info();
    else
        status = run.setLine(arguments[0].toLower(),
                             parser.value(options.bcc).compare(u"on", Qt::CaseInsensitive) == 0,
                             oldParity(parser, options));
    driver.Disconnect();
    return status;
}

} // namespace

} // namespace Tavrel

using namespace Tavrel;

int main(int argc, char *argv[])
{
    chooseUtf8Locale();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const Options options;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    parser.addOptions({options.port, options.settings, options.blockCheck, options.deviceType,
                       options.bcc, options.oldParity});
    parser.addPositionalArgument(u"command"_s, u"read, write, info or set-line"_s);
    return run(parser, [&] {
        check(parser, options);
        return perform(parser, options);
    });
}
