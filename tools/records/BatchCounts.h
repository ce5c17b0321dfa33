#pragma once

#include "tools/records/CommandLine.h"
#include "tools/records/TimeDatabase.h"

#include <vector>

namespace Tavrel
{

/// A batch whose RecordCount is not the number of its punches.
struct WrongCount {
    qlonglong row;
    QVariant batch;
    QVariant counted;
    qlonglong punches;

    bool operator==(const WrongCount &) const = default;
};

/// The batches with a wrong RecordCount, in order of row. If several have the same number, their
/// punches are those of the first, and the others are not looked at. Throws NotDone if there are
/// more than 100,000 batches.
std::vector<WrongCount> wrongCounts(Connection &connection);

/// `check --mend-counts`: sets the RecordCounts that stay wrong for a second to the number of
/// punches.
void mendCounts(const CommandLine &line);

} // namespace Tavrel
