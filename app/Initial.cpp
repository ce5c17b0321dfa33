#include "app/Initial.h"

#include "app/App.h"
#include "app/QtMessages.h"
#include "app/frmMain.h"
#include "platform/basics/ApplicationTitle.h"
#include "platform/basics/Utf8Locale.h"
#include "platform/windows/DesktopHost.h"
#include "store/DataEnvironment.h"

#include <QApplication>

#include <algorithm>
#include <csignal>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace Initial
{

int Main(int argc, char *argv[])
{
    const App::InstanceLock instance;
    if (instance.PrevInstance())
        return 0;

    // Makes a write beyond the limit on file sizes fail, as on a full disk, instead of ending the
    // process.
    std::signal(SIGXFSZ, SIG_IGN);
    QtMessages::keep();
    argc = std::min(argc, 1); // only the name: Qt would act on the arguments that it knows
    chooseUtf8Locale();
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    QApplication::setApplicationVersion(QStringLiteral(TAVREL_VERSION_TEXT));
    QApplication::setDesktopFileName(u"tavrel"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    de().conOV.ConnectionString(connectionString(App::Path()));

    DesktopHost host;
    frmMain window(host, de());
    window.Show();
    QtMessages::pass();
    return QApplication::exec();
}

} // namespace Initial

} // namespace Tavrel
