#include "store/SavePunch.h"

#include "platform/basics/Failure.h"
#include "platform/database/ColumnValues.h"

namespace
{

/// The mark of the batches that the system makes and adds to.
const QString BatchMark = QStringLiteral("MSR");

constexpr qsizetype PersonalIDSize = 50;

void addBatch(Recordset &batches, std::int16_t batchID, const QDateTime &now)
{
    batches.AddNew();
    batches.Collect(QStringLiteral("ID"), batchID);
    batches.Collect(QStringLiteral("DateTime"), now);
    batches.Collect(QStringLiteral("RecordCount"), 1);
    batches.Collect(QStringLiteral("DownloadResult"), BatchMark);
}

/// Brings the batch row up to date, not yet written, and returns the batch's ID.
std::int16_t countIntoBatch(Host &host, DataEnvironment &environment)
{
    Recordset &batches = environment.rsRawData;
    if (batches.State() == adStateOpen)
        batches.Close();
    environment.RawData();

    batches.Find(QStringLiteral("[DownloadResult]='%1'").arg(BatchMark), 0, adSearchForward);
    if (!batches.Eof()) {
        const std::int16_t batchID = toInt16(batches.Fields(QStringLiteral("ID")));
        batches.Collect(QStringLiteral("RecordCount"),
                        plusOne(batches.Fields(QStringLiteral("RecordCount"))));
        batches.Collect(QStringLiteral("DateTime"), host.Now());
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
    const std::int16_t batchID = toInt16(plusOne(highest.Fields(QStringLiteral("MaxID"))));
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
    details.Collect(QStringLiteral("ID"), batchID);
    details.Collect(QStringLiteral("PersonalID"), badgeNumber.left(PersonalIDSize));
    details.Collect(QStringLiteral("EventStatus"), eventStatus);
    details.Collect(QStringLiteral("DateTime"), punchTime);
    details.Collect(QStringLiteral("Shift"), 0);
    details.Collect(QStringLiteral("MachineNo"), 0);
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
