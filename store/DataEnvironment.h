#pragma once

#include "platform/database/Connection.h"
#include "platform/database/Recordset.h"

#include <QString>

namespace Tavrel
{

/// The name of the time database's file.
inline constexpr QLatin1StringView DatabaseFile("Orvanta.mdb");

/// The connection string of the time database: the file DatabaseFile in `programFolder`, which is
/// inserted as it is.
QString connectionString(const QString &programFolder);

/// The time database: one connection, and four named commands, each with a recordset. The first
/// command opens the connection, which stays open as long as the path names the same file. A
/// command fills its recordset and leaves it open on its first row until the caller closes it.
/// Failures are thrown to the caller.
///
/// The tables, with the columns that the clock uses:
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

/// The data environment of the process, created on first use and never destroyed.
DataEnvironment &de();

} // namespace Tavrel
