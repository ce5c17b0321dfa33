#include "tools/console/Console.h"

#include <QCoreApplication>

#include <iostream>

namespace Console
{

void say(const QString &line)
{
    std::cout << qPrintable(line) << std::endl;
}

Status complain(const QString &why)
{
    std::cerr << qPrintable(QCoreApplication::applicationName()) << ": " << qPrintable(why)
              << std::endl;
    return Failed;
}

Status refuse(const QString &mistake)
{
    complain(mistake + QStringLiteral(" (--help shows the usage.)"));
    return NotUnderstood;
}

QString visible(const QString &text)
{
    QString shown;
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if (character == u'\\')
            shown += QStringLiteral("\\\\");
        else if (code >= ' ' && code <= '~')
            shown += character;
        else if (code <= 0xFF)
            shown += QString::asprintf("\\x%02X", code);
        else
            shown += QString::asprintf("\\u%04X", code);
    }
    return shown;
}

QString parse(QCommandLineParser &parser)
{
    // The toolkit's own help option would bring --help-all with it.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Displays this help."));
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVREL_VERSION));

    const bool isParsed = parser.parse(QCoreApplication::arguments());
    if (parser.isSet(help))
        parser.showHelp(Succeeded);
    if (parser.isSet(version))
        parser.showVersion();
    return isParsed ? QString() : parser.errorText();
}

} // namespace Console
