#include "tools/console/Console.h"

#include <QCoreApplication>

#include <iostream>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace Console
{

void say(const QString &line)
{
    std::cout << qPrintable(visible(line)) << '\n' << std::flush;
}

QString program()
{
    return QCoreApplication::applicationName(); // derived from argv[0], as no tool sets another
}

Status complain(const QString &why)
{
    std::cerr << qPrintable(program()) << ": " << qPrintable(visible(why)) << '\n';
    return Failed;
}

Status refuse(const QString &mistake)
{
    complain(mistake + u" Try --help."_s);
    return NotUnderstood;
}

QString visible(const QString &text)
{
    QString shown;
    for (const char32_t character : text.toUcs4()) {
        if (character == U'\\')
            shown += u"\\\\"_s;
        else if (character == U' ' || (QChar::isPrint(character) && !QChar::isSpace(character)))
            shown += QChar::fromUcs4(character);
        else if (character <= 0xFF)
            shown += QString::asprintf("\\x%02X", static_cast<unsigned>(character));
        else
            shown += QString::asprintf("\\u%04X", static_cast<unsigned>(character));
    }
    return shown;
}

QString mistakeInCommand(std::span<const Command> commands, const QStringList &arguments)
{
    QStringList names;
    for (const Command &command : commands) {
        const QString name = QString::fromLatin1(command.name);
        names += name;
        if (arguments.value(0).compare(name, Qt::CaseInsensitive) != 0)
            continue;
        const qsizetype others = arguments.size() - 1;
        return others < command.fewest || others > command.most
                   ? u"%1 takes %2."_s.arg(name, QLatin1StringView(command.takes))
                   : QString();
    }
    const QString known = u"expected one of "_s + names.join(u", ");
    return arguments.isEmpty() ? u"Missing command; %1."_s.arg(known)
                               : u"Unknown command \"%1\"; %2."_s.arg(arguments[0], known);
}

QString parse(QCommandLineParser &parser)
{
    // Qt's own help option would add --help-all.
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Displays this help."_s);
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

} // namespace Tavrel
