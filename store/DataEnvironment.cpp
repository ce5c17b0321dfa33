#include "store/DataEnvironment.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

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
    return u"Provider=Microsoft.Jet.OLEDB.4.0;"_s + u"Data Source="_s + programFolder + u'\\' +
           DatabaseFile + u";Persist Security Info=False"_s;
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

} // namespace Tavrel
