#pragma once

#include <QString>

#include <cstdint>

namespace Tavrel
{

/// What goes wrong inside a procedure: thrown by the platform and by conversions, caught by the
/// procedure that has a handler and shown there in a message box. It never reaches the event loop.
struct Failure {
    /// The failures that come neither from the operating system nor from the database.
    enum Known : std::int32_t {
        Overflow = 6,
        SubscriptOutOfRange = 9,
        TypeMismatch = 13,
        PathFileAccess = 75,
        InvalidUseOfNull = 94,
        NoCurrentRow = 3021,
        NotSupported = 3251,
        NoSuchColumn = 3265,
        ClosedRecordset = 3704,
        RowChanged = -2147217864,
    };

    /// One of the known failures, in its own words, with the file or the name that it is about.
    explicit Failure(Known known, const QString &subject = {});

    /// `failureNumber`: SQLite's extended result code for the database, `errno` for the serial
    /// line.
    Failure(std::int32_t failureNumber, QString failureDescription);

    /// A failed call of the operating system: `errno` with its text.
    static Failure ofSystem(int errorNumber);

    /// Throws the failure of the last call of the operating system unless it has succeeded.
    static void unless(bool succeeded);

    std::int32_t number;
    QString description;
};

} // namespace Tavrel
