#pragma once

#include "clock/ClockFace.h"
#include "clock/ReaderConnection.h"
#include "clock/SwipeHandling.h"
#include "clock/Tick.h"
#include "dialogs/frmPunchInformation.h"
#include "platform/host/Host.h"
#include "platform/windows/Form.h"
#include "platform/windows/OnDemand.h"

#include <cstdint>

namespace Tavrel
{

/// The clock window: the program's only visible window that lives as long as the process.
class frmMain : public Form
{
public:
    frmMain(Host &host, DataEnvironment &environment);

    /// Loads the window and shows it in the middle of the screen.
    void Show();

    ClockFace face;

private:
    void Form_Load();
    void Form_Unload();
    void cmdCtrl_Click(std::int16_t Index);

    Host &m_host;
    ReaderConnection m_connection;
    OnDemand<frmPunchInformation> m_punchInformation;
    SwipeHandling m_swipeHandling;
    Tick m_tick;
};

} // namespace Tavrel
