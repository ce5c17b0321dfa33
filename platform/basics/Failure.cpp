#include "platform/basics/Failure.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

struct KnownFailure {
    Failure::Known number;
    const char *description;
};

constexpr std::array KnownFailures{
    KnownFailure{Failure::Overflow, "Overflow"},
    KnownFailure{Failure::SubscriptOutOfRange, "Subscript out of range"},
    KnownFailure{Failure::TypeMismatch, "Type mismatch"},
    KnownFailure{Failure::PathFileAccess, "Path/File access error"},
    KnownFailure{Failure::InvalidUseOfNull, "Invalid use of Null"},
    KnownFailure{Failure::NoCurrentRow, "The recordset has no current row."},
    KnownFailure{Failure::NotSupported, "The recordset cannot do this."},
    KnownFailure{Failure::NoSuchColumn, "The recordset has no such column"},
    KnownFailure{Failure::ClosedRecordset, "The recordset is closed."},
    KnownFailure{Failure::RowChanged, "The row was changed by someone else since it was read."},
};

} // namespace

Failure::Failure(Known known, const QString &subject)
    : number(known),
      description(QString::fromLatin1(
          std::ranges::find(KnownFailures, known, &KnownFailure::number)->description))
{
    if (!subject.isEmpty())
        description += u": "_s + subject;
}

Failure::Failure(std::int32_t failureNumber, QString failureDescription)
    : number(failureNumber), description(std::move(failureDescription))
{
}

Failure Failure::ofSystem(int errorNumber)
{
    return {errorNumber, qt_error_string(errorNumber)};
}

void Failure::unless(bool succeeded)
{
    if (!succeeded)
        throw ofSystem(errno);
}

} // namespace Tavrel
