#include "tools/console/Console.h"

#include "platform/basics/Failure.h"
#include "tools/console/NotDone.h"

#include <QCoreApplication>

#include <pwd.h>

#include <csignal>
#include <cstdio>
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

QString userName(uid_t id)
{
    const passwd *user = ::getpwuid(id);
    return user ? QString::fromLocal8Bit(user->pw_name) : QString::number(id);
}

Status complain(const QString &why)
{
    std::cerr << qPrintable(program()) << ": " << qPrintable(visible(why)) << '\n';
    return Failed;
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

qsizetype Command::words() const
{
    return QLatin1StringView(name).count(u' ') + 1;
}

const Command &commandOf(std::span<const Command> commands, const QStringList &arguments)
{
    QStringList names;
    for (const Command &command : commands) {
        const QString name = QString::fromLatin1(command.name);
        names += name;
        const QString given = arguments.mid(0, command.words()).join(u' ');
        if (given.compare(name, Qt::CaseInsensitive) != 0)
            continue;
        const qsizetype others = arguments.size() - command.words();
        if (others < command.fewest || others > command.most)
            throw Mistake{u"%1 takes %2."_s.arg(name, QLatin1StringView(command.takes))};
        return command;
    }
    const QString known = u"expected one of "_s + names.join(u", ");
    throw Mistake{arguments.isEmpty() ? u"Missing command; %1."_s.arg(known)
                                      : u"Unknown command \"%1\"; %2."_s.arg(arguments[0], known)};
}

int run(QCommandLineParser &parser, const std::function<int()> &action)
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
    std::signal(SIGXFSZ, SIG_IGN); // the write fails instead
    try {
        if (!isParsed)
            throw Mistake{parser.errorText()};
        const int status = action();
        if (std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout.flush())
            return complain(u"Cannot write the output."_s);
        return status;
    } catch (const Mistake &mistake) {
        complain(mistake.what + u" Try --help."_s);
        return NotUnderstood;
    } catch (const NotDone &notDone) {
        complain(notDone.why);
        return notDone.status;
    } catch (const Failure &failure) {
        return complain(failure.description);
    }
}

} // namespace Console

} // namespace Tavrel
