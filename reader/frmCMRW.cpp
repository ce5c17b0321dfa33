#include "reader/frmCMRW.h"

#include <cstdlib>

namespace Tavrel
{

frmCMRW::frmCMRW()
{
    // The form is never released, but the line is to be given back at every exit. (Where a signal
    // ends the process, the system takes the line back when nobody else has it open.)
    constexpr auto closePort = [] { form().MSComm1.PortOpen(false); };
    std::atexit(closePort);
    std::at_quick_exit(closePort);
}

frmCMRW &frmCMRW::form()
{
    static auto *const form = new frmCMRW; // outlives every static object: it is never released
    return *form;
}

} // namespace Tavrel
