#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <exception>

namespace Tavrel
{

/// An error inside a procedure, thrown by the platform layer and by conversions. The procedure that
/// has a handler catches it and usually shows it in a message box; it never reaches the event loop.
class Failure : public std::exception
{
public:
    /// Failures that neither the operating system nor the database reports.
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

    /// A known failure with its own description, followed by the file or name that it concerns, if
    /// any.
    explicit Failure(Known known, const QString &subject = {});

    /// `failureNumber`: SQLite's extended result code for the database, `errno` for the serial
    /// line.
    Failure(std::int32_t failureNumber, const QString &failureDescription);

    /// A failed system call: `errno` and its text.
    static Failure ofSystem(int errorNumber);

    /// Throws the failure of the last system call, from `errno`, unless it succeeded.
    static void unless(bool succeeded);

    const char *what() const noexcept override { return m_what.constData(); }

    std::int32_t number;
    QString description;

private:
    QByteArray m_what; ///< the description in UTF-8
};

} // namespace Tavrel
