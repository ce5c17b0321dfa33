#include "reader/frmCMRW.h"

frmCMRW &frmCMRW::form()
{
    static auto *const form = new frmCMRW; // outlives every static object: it is never released
    return *form;
}
