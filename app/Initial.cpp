#include "app/Initial.h"

#include "app/App.h"
#include "app/frmMain.h"
#include "platform/DesktopHost.h"
#include "store/DataEnvironment.h"

#include <QApplication>

#include <algorithm>

namespace Initial
{

QString connectionString(const QString &programFolder)
{
    return QStringLiteral("Provider=Microsoft.Jet.OLEDB.4.0;") + QStringLiteral("Data Source=") +
           programFolder + QStringLiteral("\\Orvanta.mdb;Persist Security Info=False");
}

int Main(int argc, char *argv[])
{
    const App::InstanceLock instance;
    if (instance.PrevInstance())
        return 0;

    argc = std::min(argc, 1); // its name: the toolkit would act on the arguments it knows
    QApplication application(argc, argv);
    QApplication::setApplicationName(App::Title());
    QApplication::setApplicationVersion(QStringLiteral(TAVREL_VERSION_TEXT));
    QApplication::setQuitOnLastWindowClosed(false);
    de().conOV.ConnectionString(connectionString(App::Path()));

    DesktopHost host;
    frmMain window(host, de());
    window.Show();
    return QApplication::exec();
}

} // namespace Initial
