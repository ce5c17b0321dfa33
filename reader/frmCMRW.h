#pragma once

#include "app/settings/SerialDevice.h"
#include "platform/serial/TermiosComm.h"

namespace Tavrel
{

/// Holds the only serial control of the process, so that all drivers share one link. It is created
/// by the first driver that needs it and lives until the process ends; it is never shown.
class frmCMRW
{
public:
    static frmCMRW &form();

    TermiosComm MSComm1{serialDevice};

private:
    frmCMRW();
};

} // namespace Tavrel
