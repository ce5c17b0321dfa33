#include "app/QtMessages.h"

#include <QMutex>
#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

QtMessageHandler handler = nullptr; ///< Qt's own
bool isKeeping = false;
QStringList kept;
QMutex mutex; // platform plugins have threads

void take(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    {
        const std::lock_guard lock(mutex);
        if (type == QtFatalMsg) {
            // The sentences that follow advise reinstalling the program, and list the plugins.
            kept += text.section(u". "_s, 0, 0);
            kept.removeDuplicates();
            std::fprintf(stderr, "%s: %s\n", program_invocation_short_name,
                         qPrintable(kept.join(u"; ")));
            std::quick_exit(EXIT_FAILURE);
        }
        if (isKeeping && type != QtDebugMsg) {
            kept += text.simplified();
            return;
        }
    }
    handler(type, context, text);
}

} // namespace

void QtMessages::keep()
{
    isKeeping = true;
    handler = qInstallMessageHandler(take);
}

void QtMessages::pass()
{
    const std::lock_guard lock(mutex);
    isKeeping = false;
    for (const QString &text : kept)
        handler(QtWarningMsg, {}, text);
    kept.clear();
}

} // namespace Tavrel
