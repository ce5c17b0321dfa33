#include "tools/records/BatchCounts.h"

#include "tools/console/Console.h"
#include "tools/console/NotDone.h"

#include <QHash>
#include <QThread>

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

std::vector<WrongCount> wrongCounts(Connection &connection)
{
    constexpr std::size_t MostBatches = 100'000;
    std::vector<WrongCount> batches;
    QHash<qint64, std::size_t> places; // in `batches`, by number
    // One statement sees the file at one time. Counting here is faster than GROUP BY, which sorts.
    Statement rows(connection,
                   u"SELECT _rowid_, ID, RecordCount, 1 FROM RawData WHERE typeof(ID) = 'integer' "
                   "UNION ALL SELECT 0, ID, NULL, 0 FROM RawDataDetails "
                   "WHERE typeof(ID) = 'integer'"_s);
    while (rows.step()) {
        const qint64 number = rows.number(1);
        const auto place = places.constFind(number);
        if (rows.number(3) == 0) {
            if (place != places.constEnd())
                ++batches[*place].punches;
        } else if (place == places.constEnd()) {
            if (batches.size() == MostBatches)
                throw NotDone{u"There are more than %1 batches."_s.arg(MostBatches)};
            places.insert(number, batches.size());
            batches.push_back(
                {rows.number(0), rows.value(1).toVariant(), rows.value(2).toVariant(), 0});
        }
    }
    std::erase_if(batches,
                  [](const WrongCount &batch) { return batch.counted == QVariant(batch.punches); });
    return batches;
}

void mendCounts(const CommandLine &line)
{
    TimeDatabase database(line.file);
    database.connection().CommandTimeout = TimeDatabase::LongestRead;
    const std::vector<WrongCount> before = wrongCounts(database.connection());
    if (before.empty())
        return;
    // The clock counts a punch in one commit and stores it in the next, milliseconds later.
    QThread::sleep(1);
    std::vector<WrongCount> wrong;
    database.change([&] {
        wrong = wrongCounts(database.connection());
        std::erase_if(wrong, [&](const WrongCount &batch) {
            return std::ranges::find(before, batch) == before.end();
        });
        for (const WrongCount &batch : wrong) {
            database.execute(u"UPDATE RawData SET RecordCount = ?2 WHERE _rowid_ = ?1"_s,
                             {batch.row, batch.punches});
            const auto text = [&](const QString &count) {
                return u"batch %1: RecordCount %2"_s.arg(batch.batch.toString(), count);
            };
            database.note({u"count mended"_s, text(batch.counted.toString()),
                           text(QString::number(batch.punches))},
                          line.options.value(u"reason"_s));
        }
    });
    for (const WrongCount &batch : wrong)
        Console::say(u"Set the RecordCount of batch %1 from \"%2\" to %3."_s.arg(
            batch.batch.toString(), batch.counted.toString(), QString::number(batch.punches)));
}

} // namespace Tavrel
