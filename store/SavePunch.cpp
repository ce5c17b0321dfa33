#include "store/SavePunch.h"

#include "platform/basics/Failure.h"
#include "platform/database/ColumnValues.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The mark of the batches that the clock creates and adds to.
constexpr QLatin1StringView BatchMark("MSR");

constexpr qsizetype PersonalIDSize = 50;

void addBatch(Recordset &batches, std::int16_t batchID, const QDateTime &now)
{
    batches.AddNew();
    batches.Collect(u"ID"_s, batchID);
    batches.Collect(u"DateTime"_s, now);
    batches.Collect(u"RecordCount"_s, 1);
    batches.Collect(u"DownloadResult"_s, QString(BatchMark));
}

/// Updates the batch row, without writing it yet, and returns the batch's ID.
std::int16_t countIntoBatch(Host &host, DataEnvironment &environment)
{
    Recordset &batches = environment.rsRawData;
    if (batches.State() == adStateOpen)
        batches.Close();
    environment.RawData();

    batches.Find(u"[DownloadResult]='%1'"_s.arg(BatchMark), 0, adSearchForward);
    if (!batches.Eof()) {
        const std::int16_t batchID = toInt16(batches.Fields(u"ID"_s));
        batches.Collect(u"RecordCount"_s, plusOne(batches.Fields(u"RecordCount"_s)));
        batches.Collect(u"DateTime"_s, host.Now());
        return batchID;
    }

    if (batches.RecordCount() <= 0) {
        addBatch(batches, 0, host.Now());
        return 0;
    }

    Recordset &highest = environment.rsMaxRawDataID;
    if (highest.State() == adStateOpen)
        highest.Close();
    environment.MaxRawDataID();
    const std::int16_t batchID = toInt16(plusOne(highest.Fields(u"MaxID"_s)));
    addBatch(batches, batchID, host.Now());
    return batchID;
}

void addDetail(DataEnvironment &environment, std::int16_t batchID, const QString &badgeNumber,
               const QDateTime &punchTime, std::int16_t eventStatus)
{
    Recordset &details = environment.rsRawDataDetails;
    if (details.State() == adStateOpen)
        details.Close();
    environment.RawDataDetails();

    details.AddNew();
    details.Collect(u"ID"_s, batchID);
    details.Collect(u"PersonalID"_s, badgeNumber.left(PersonalIDSize));
    details.Collect(u"EventStatus"_s, eventStatus);
    details.Collect(u"DateTime"_s, punchTime);
    details.Collect(u"Shift"_s, 0);
    details.Collect(u"MachineNo"_s, 0);
    details.Update();
}

} // namespace

void SavePunch(Host &host, DataEnvironment &environment, const QString &i_sBadgeNumber,
               const QDateTime &i_dtPunchTime, std::int16_t i_iEventStatus)
{
    try {
        const std::int16_t batchID = countIntoBatch(host, environment);
        environment.rsRawData.Update();
        addDetail(environment, batchID, i_sBadgeNumber, i_dtPunchTime, i_iEventStatus);
    } catch (const Failure &failure) {
        host.MsgBox(failure);
    }
}

} // namespace Tavrel
