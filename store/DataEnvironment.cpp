#include "store/DataEnvironment.h"

namespace
{

constexpr Command RawDataCommand{"`RawData`", adCmdTable, adLockOptimistic};
constexpr Command RawDataDetailsCommand{"`RawDataDetails`", adCmdTable, adLockOptimistic};
constexpr Command MaxRawDataIDCommand{"SELECT MAX(ID) AS MaxID FROM RawData", adCmdText,
                                      adLockReadOnly};
constexpr Command EmployeeNameWithEmpIDCommand{
    "SELECT Name FROM Employee WHERE (PersonalID = @EmpID)", adCmdText, adLockReadOnly};

} // namespace

QString connectionString(const QString &programFolder)
{
    return QStringLiteral("Provider=Microsoft.Jet.OLEDB.4.0;") + QStringLiteral("Data Source=") +
           programFolder + QStringLiteral("\\Orvanta.mdb;Persist Security Info=False");
}

void DataEnvironment::RawData()
{
    rsRawData.Open(RawDataCommand);
}

void DataEnvironment::RawDataDetails()
{
    rsRawDataDetails.Open(RawDataDetailsCommand);
}

void DataEnvironment::MaxRawDataID()
{
    rsMaxRawDataID.Open(MaxRawDataIDCommand);
}

void DataEnvironment::EmployeeNameWithEmpID(const QString &EmpID)
{
    rsEmployeeNameWithEmpID.Open(EmployeeNameWithEmpIDCommand, {EmpID});
}

DataEnvironment &de()
{
    static auto *const environment = new DataEnvironment;
    return *environment;
}
