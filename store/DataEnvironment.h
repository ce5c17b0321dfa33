#pragma once

#include "platform/database/Connection.h"
#include "platform/database/Recordset.h"

#include <QString>

namespace Tavrel
{

/// The name of the time database's file.
inline constexpr QLatin1StringView DatabaseFile("Orvanta.mdb");

/// The connection string of the time database: always DatabaseFile in `programFolder`,
/// which goes into the text as it is.
QString connectionString(const QString &programFolder);

/// The time database: one connection, and four named commands with a recordset each. The first
/// command call opens the connection, which then stays open for as long as the path names the same
/// file. A command fills its recordset and leaves it open on its first row until somebody closes
/// it. Failures go to the caller.
///
/// The tables, with the columns that the system uses:
///
///     RawData         ID, RecordCount, DateTime, DownloadResult            a batch of punches
///     RawDataDetails  ID, PersonalID, EventStatus, DateTime, Shift, MachineNo      a punch
///     Employee        PersonalID, Name                                      read only
class DataEnvironment
{
public:
    Connection conOV;
    Recordset rsRawData{conOV};
    Recordset rsRawDataDetails{conOV};
    Recordset rsMaxRawDataID{conOV};
    Recordset rsEmployeeNameWithEmpID{conOV};

    void RawData();
    void RawDataDetails();
    void MaxRawDataID();
    void EmployeeNameWithEmpID(const QString &EmpID);
};

/// The data environment of the process, made at its first use and never released.
DataEnvironment &de();

} // namespace Tavrel
