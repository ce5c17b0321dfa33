#include "app/frmMain.h"

#include "app/App.h"
#include "dialogs/frmOptions.h"
#include "platform/basics/ApplicationTitle.h"
#include "platform/windows/Centring.h"

#include <QIcon>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::int16_t OptionsButton = 0;
constexpr std::int16_t ExitButton = 1;

} // namespace

frmMain::frmMain(Host &host, DataEnvironment &environment)
    : Form(u"frmMain"_s, ApplicationTitle, ClockFace::ClientWidth, ClockFace::ClientHeight,
           Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint),
      face(*this), m_host(host), m_connection(host),
      m_swipeHandling(host, face, m_connection, environment, m_punchInformation),
      m_tick(host, face, m_swipeHandling)
{
    QIcon icon;
    for (const int size : {32, 16})
        icon.addFile(u":/app/pictures/clock%1.png"_s.arg(size));
    setWindowIcon(icon);

    for (const std::int16_t index : {OptionsButton, ExitButton})
        connect(face.cmdCtrl(index), &QPushButton::clicked, this,
                [this, index] { cmdCtrl_Click(index); });
    onUnload([this] { Form_Unload(); });
}

void frmMain::Show()
{
    Form_Load();
    centreOnScreen(*this);
    show();
}

void frmMain::Form_Load()
{
    setWindowTitle(u"Tavrel v%1.%2R%3"_s.arg(App::Major).arg(App::Minor).arg(App::Revision));
    m_connection.ConnectReader();
}

void frmMain::Form_Unload()
{
    m_punchInformation.Unload();
    m_host.End();
}

void frmMain::cmdCtrl_Click(std::int16_t Index)
{
    if (Index == OptionsButton) {
        frmOptions options(m_host, *this);
        options.Show();
        m_connection.ConnectReader();
    } else {
        m_punchInformation.Unload();
        m_host.End();
    }
}

} // namespace Tavrel
