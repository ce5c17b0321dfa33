#include "platform/basics/Failure.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cerrno>

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
    KnownFailure{Failure::NotSupported, "The recordset does not support this operation."},
    KnownFailure{Failure::NoSuchColumn, "The recordset has no such column"},
    KnownFailure{Failure::ClosedRecordset, "The recordset is closed."},
    KnownFailure{Failure::RowChanged, "The row was changed by someone else since it was read."},
};

QString describe(Failure::Known known, const QString &subject)
{
    const QString words = QString::fromLatin1(
        std::ranges::find(KnownFailures, known, &KnownFailure::number)->description);
    return subject.isEmpty() ? words : words + u": "_s + subject;
}

} // namespace

Failure::Failure(Known known, const QString &subject)
    : Failure(static_cast<std::int32_t>(known), describe(known, subject))
{
}

Failure::Failure(std::int32_t failureNumber, const QString &failureDescription)
    : number(failureNumber), description(failureDescription), m_what(description.toUtf8())
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
