#include "platform/Failure.h"
#include "tools/VirtualReader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTextStream>

#include <signal.h>
#include <sys/signalfd.h>

#include <cstdio>
#include <iostream>
#include <string>

namespace
{

/// A descriptor that can be read once the program has been asked to end.
FileDescriptor endRequests()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC));
}

int run(const QString &link)
{
    VirtualReader reader;
    reader.linkAt(link);
    std::cout << "ready: " << qPrintable(reader.device()) << std::endl;

    const FileDescriptor ending = endRequests();
    QSocketNotifier endRequested(ending.get(), QSocketNotifier::Read);
    QObject::connect(&endRequested, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });

    QByteArray typed;
    QSocketNotifier lineTyped(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&lineTyped, &QSocketNotifier::activated, [&] {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0) {
            lineTyped.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        typed.append(bytes, count);
        for (qsizetype end = typed.indexOf('\n'); end >= 0; end = typed.indexOf('\n')) {
            reader.send(swipeFrame(QString::fromUtf8(typed.left(end)).trimmed()));
            typed.remove(0, end + 1);
        }
    });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A card reader without hardware, at the far end of a pseudo-terminal.\n\n"
        "Each line of the standard input is a swipe: a badge number goes on track 2; a line that "
        "begins with %, ; or + spells its tracks, as in %ANN;1001+7. The end of the input pulls "
        "the reader out."));
    parser.addHelpOption();
    const QCommandLineOption link(
        QStringLiteral("link"),
        QStringLiteral("Link to the reader's device, for example the COM1 in a clock's settings "
                       "folder."),
        QStringLiteral("path"));
    parser.addOption(link);
    parser.process(application);
    if (!parser.isSet(link)) {
        std::cerr << "virtual-reader: tell where to link the device with --link\n";
        return 2;
    }

    try {
        return run(parser.value(link));
    } catch (const Failure &failure) {
        std::cerr << "virtual-reader: " << qPrintable(failure.description) << '\n';
        return 1;
    }
}
