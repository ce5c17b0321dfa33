#include "reader/frmCMRW.h"

#include <cstdlib>

namespace Tavrel
{

frmCMRW::frmCMRW()
{
    // The form is never destroyed, but the line must be released at every exit. (If a signal ends
    // the process, the kernel releases the line unless another process has it open.)
    constexpr auto closePort = [] { form().MSComm1.PortOpen(false); };
    std::atexit(closePort);
    std::at_quick_exit(closePort);
}

frmCMRW &frmCMRW::form()
{
    static auto *const form = new frmCMRW; // never destroyed, so it outlives static objects
    return *form;
}

} // namespace Tavrel
