#include "platform/EventLoopHost.h"
#include "platform/Failure.h"
#include "platform/TermiosComm.h"
#include "reader/CMRW.h"
#include "tools/EndRequests.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QSocketNotifier>

#include <cerrno>
#include <iostream>
#include <utility>

namespace
{

constexpr char Description[] =
    "Reads and writes cards, and looks after the card reader.\n\n"
    "Commands:\n"
    "  read                wait for a swipe and show its tracks\n"
    "  write T1 [T2 [T3]]  write the tracks on the next card; an empty text, '', leaves a track\n"
    "                      out. Track 1 takes blanks, capital letters, digits and signs (codes\n"
    "                      32 to 95), tracks 2 and 3 digits and :;<=> (48 to 62)\n"
    "  info                show what the reader tells of itself, as hex and as text\n"
    "  set-line SETTINGS   set the reader's rate (1200, 2400, 4800, 9600) and parity (o, e, m,\n"
    "                      s, n), as in 9600,e,8,1, and its block check\n\n"
    "Ctrl-C ends the waiting for a card. A text that begins with - goes behind a --.\n"
    "The status is 0 on success, 1 on failure, 2 when the command is not understood.";

constexpr int Failed = 1;
constexpr int NotUnderstood = 2;

int fail(const QString &why, int status = Failed)
{
    std::cerr << "cardtool: " << qPrintable(why) << std::endl;
    return status;
}

void say(const QString &what)
{
    std::cout << qPrintable(what) << std::endl;
}

/// The real machine at a terminal: a message box is a line on standard error, and so is the
/// prompt, said once when the driver begins to wait.
class ConsoleHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &, MsgBoxIcon) override
    {
        hasFailed = true;
        fail(text);
    }

    void DoEvents(std::int32_t longestWait) override
    {
        if (const char *said = std::exchange(prompt, nullptr))
            std::cerr << said << std::endl;
        EventLoopHost::DoEvents(longestWait);
    }

    bool hasFailed = false;
    const char *prompt = nullptr;
};

struct Options {
    QCommandLineOption port{QStringLiteral("port"),
                            QStringLiteral("The reader's port: COM1, COM2, ... or the path of a "
                                           "device. COM1 if not told."),
                            QStringLiteral("port"), QStringLiteral("COM1")};
    QCommandLineOption settings{QStringLiteral("settings"),
                                QStringLiteral("Rate, parity, data bits and stop bits of the "
                                               "line. 9600,N,8,1 if not told."),
                                QStringLiteral("settings"), QStringLiteral("9600,N,8,1")};
    QCommandLineOption blockCheck{QStringLiteral("block-check"),
                                  QStringLiteral("Write with a block check byte.")};
    QCommandLineOption deviceType{QStringLiteral("device-type"),
                                  QStringLiteral("0 to end written tracks with ?, 1 with <. 0 if "
                                                 "not told."),
                                  QStringLiteral("type"), QStringLiteral("0")};
    QCommandLineOption bcc{QStringLiteral("bcc"),
                           QStringLiteral("set-line: on or off, whether the reader is to expect a "
                                          "block check byte. off if not told."),
                           QStringLiteral("on|off"), QStringLiteral("off")};
    QCommandLineOption oldParity{QStringLiteral("old-parity"),
                                 QStringLiteral("set-line: the parity letter of the reader's line "
                                                "until now. That of --settings if not told."),
                                 QStringLiteral("letter")};
};

/// The texts that are there, as in "track 1 ANN, track 2 1001".
QString describe(const Frames::Tracks &tracks)
{
    QStringList told;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (!tracks[i].isEmpty())
            told += QStringLiteral("track %1 %2").arg(i + 1).arg(tracks[i]);
    }
    return told.isEmpty() ? QStringLiteral("no track") : told.join(u", ");
}

/// One run of the tool on an open port.
class Run
{
public:
    Run(ConsoleHost &host, CMRW &driver) : m_host(host), m_driver(driver) {}

    int read()
    {
        constexpr std::int16_t NoTimeout = 0;
        m_host.prompt = "Swipe a card, or press Ctrl-C.";
        Frames::Tracks tracks;
        const auto result = m_driver.ReadTracks(NoTimeout, tracks[0], tracks[1], tracks[2]);
        return end(result, QStringLiteral("Read ") + describe(tracks));
    }

    int write(Frames::Tracks tracks)
    {
        m_host.prompt = "Swipe the card to write, or press Ctrl-C.";
        const auto result = m_driver.WriteTracks(0, tracks[0], tracks[1], tracks[2]);
        return end(result, QStringLiteral("Wrote ") + describe(tracks));
    }

    int info()
    {
        QByteArray told;
        const auto result = m_driver.DownloadCommand(told);
        QString text = QString::fromLatin1(told);
        for (QChar &character : text) {
            if (!character.isPrint())
                character = u'.';
        }
        return end(result,
                   QString::fromLatin1(told.toHex(' ').toUpper()) + QStringLiteral("  ") + text);
    }

    int setLine(const QString &settings, bool blockCheck, const QString &oldParity)
    {
        const auto result =
            m_driver.SetBaudRate_BCC(settings, blockCheck ? True : False, oldParity);
        return end(result,
                   QStringLiteral("The reader has taken it; from now on talk to it with "
                                  "--settings %1%2")
                       .arg(settings, blockCheck ? QStringLiteral(" --block-check") : QString()));
    }

private:
    /// Says what was done, or why it was not; a message box of the driver has said so already.
    int end(std::int32_t result, const QString &done)
    {
        if (m_host.hasFailed)
            return Failed;
        if (result == CMRW::Cancelled)
            return fail(QStringLiteral("Cancelled."));
        if (result != CMRW::Success) {
            QString why;
            m_driver.ErrorDescription(result, why);
            if (result == CMRW::TimeOut)
                why += QStringLiteral(" The reader did not answer in time.");
            return fail(why);
        }
        say(done);
        return 0;
    }

    ConsoleHost &m_host;
    CMRW &m_driver;
};

/// Opens the port; where it would not open, says why and gives false.
bool connectReader(CMRW &driver, TermiosComm &link, const QString &port)
{
    const std::int32_t result = driver.Connect();
    if (result == CMRW::Success)
        return true;
    QString why;
    driver.ErrorDescription(result, why);
    // The driver keeps the reason to itself, so the link is asked once more.
    try {
        link.Settings(driver.Settings());
    } catch (const Failure &) {
        fail(why + QStringLiteral(" There are no such settings as %1.").arg(driver.Settings()));
        return false;
    }
    try {
        link.PortOpen(true);
    } catch (const Failure &failure) {
        why += failure.number == EWOULDBLOCK
                   ? QStringLiteral(" Another program has %1; close it first.").arg(port)
                   : QStringLiteral(" %1: %2").arg(port, failure.description);
    }
    fail(why);
    return false;
}

const QRegularExpression &comPort()
{
    static const QRegularExpression name(QStringLiteral("^COM([1-9][0-9]{0,3})$"));
    return name;
}

/// The parity letter of the reader's line until now.
QString oldParity(const QCommandLineParser &parser, const Options &options)
{
    return parser.isSet(options.oldParity)
               ? parser.value(options.oldParity)
               : parser.value(options.settings).section(u',', 1, 1).toLower();
}

/// What is wrong with the command line, in words; empty when nothing is.
QString mistakeIn(const QCommandLineParser &parser, const Options &options)
{
    static const QRegularExpression line(
        QStringLiteral("^(1200|2400|4800|9600),[oemsn],[78],[12]$"));
    static const QRegularExpression parityLetter(QStringLiteral("^[oemsn]$"));

    const QStringList arguments = parser.positionalArguments();
    const QString command = arguments.value(0);
    const qsizetype count = arguments.size() - 1;
    const QString port = parser.value(options.port);
    if (!QStringList{"read", "write", "info", "set-line"}.contains(command))
        return QStringLiteral("Tell me to read, write, info or set-line.");
    if (!comPort().match(port).hasMatch() && !port.contains(u'/'))
        return QStringLiteral("%1 is no port: take COM1, COM2, ... or a path.").arg(port);
    if (!QStringList{"0", "1"}.contains(parser.value(options.deviceType)))
        return QStringLiteral("The device type is 0 or 1.");
    if (command == u"write" ? count < 1 || count > 3 : count != (command == u"set-line" ? 1 : 0))
        return QStringLiteral("%1 does not go with %2 texts.").arg(command).arg(count);
    if (command != u"set-line")
        return {};
    if (!line.match(arguments[1].toLower()).hasMatch())
        return QStringLiteral("%1 is no line that a reader can have, as 9600,e,8,1 is.")
            .arg(arguments[1]);
    if (!QStringList{"on", "off"}.contains(parser.value(options.bcc)))
        return QStringLiteral("--bcc is on or off.");
    if (!parityLetter.match(oldParity(parser, options)).hasMatch())
        return QStringLiteral("The old parity is one of the letters o, e, m, s and n.");
    return {};
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const Options options;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    parser.addOptions({options.port, options.settings, options.blockCheck, options.deviceType,
                       options.bcc, options.oldParity});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("read, write, info or set-line"));
    const QCommandLineOption help = parser.addHelpOption();
    const bool isParsed = parser.parse(QCoreApplication::arguments());
    if (parser.isSet(help))
        parser.showHelp();
    const QString mistake = isParsed ? mistakeIn(parser, options) : parser.errorText();
    if (!mistake.isEmpty())
        return fail(mistake + QStringLiteral(" (--help tells all.)"), NotUnderstood);

    QStringList arguments = parser.positionalArguments();
    const QString command = arguments.takeFirst();
    const QString settings = parser.value(options.settings);
    const QString device = parser.value(options.port);
    const auto numbered = comPort().match(device);

    ConsoleHost host;
    TermiosComm link(
        [&](std::int16_t port) { return numbered.hasMatch() ? serialDevice(port) : device; });
    CMRW driver(host, link);
    driver.CommPort(numbered.hasMatch() ? numbered.captured(1).toInt() : 1);
    driver.Settings(settings);
    driver.DeviceType(parser.value(options.deviceType).toInt());
    driver.BCC(parser.isSet(options.blockCheck) ? True : False);

    const EndRequests endRequests;
    QSocketNotifier endRequested(endRequests.descriptor(), QSocketNotifier::Read);
    QObject::connect(&endRequested, &QSocketNotifier::activated, [&] {
        endRequested.setEnabled(false);
        driver.Cancel();
    });

    if (!connectReader(driver, link, device))
        return Failed;
    Run run(host, driver);
    int status = Failed;
    if (command == u"read")
        status = run.read();
    else if (command == u"write")
        status = run.write({arguments.value(0), arguments.value(1), arguments.value(2)});
    else if (command == u"info")
        status = run.info();
    else
        status = run.setLine(arguments[0].toLower(), parser.value(options.bcc) == u"on",
                             oldParity(parser, options));
    driver.Disconnect();
    return status;
}
