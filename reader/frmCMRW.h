#pragma once

#include "app/settings/SerialDevice.h"
#include "platform/serial/TermiosComm.h"

namespace Tavrel
{

/// Carries the one serial control of the process, so that all drivers in it share one link. It
/// is made by the first driver that asks for it and stays until the process ends; nothing of it
/// is ever shown.
class frmCMRW
{
public:
    static frmCMRW &form();

    TermiosComm MSComm1{serialDevice};

private:
    frmCMRW();
};

} // namespace Tavrel
