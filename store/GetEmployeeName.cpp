#include "store/GetEmployeeName.h"

#include "platform/basics/Failure.h"
#include "platform/database/ColumnValues.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

void GetEmployeeName(Host &host, DataEnvironment &environment, const QString &i_sBadgeNumber,
                     QString &o_sEmployeeName)
{
    try {
        Recordset &names = environment.rsEmployeeNameWithEmpID;
        if (names.State() == adStateOpen)
            names.Close();
        environment.EmployeeNameWithEmpID(i_sBadgeNumber);
        if (names.RecordCount() > 0)
            o_sEmployeeName = toText(names.Fields(u"Name"_s));
        else
            o_sEmployeeName = u"Unknown"_s;
    } catch (const Failure &failure) {
        host.MsgBox(failure);
    }
}

} // namespace Tavrel
