#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <exception>

namespace Tavrel
{

/// What goes wrong inside a procedure: thrown by the platform and by conversions, caught by the
/// procedure that has a handler and shown there in a message box. It never reaches the event loop.
class Failure : public std::exception
{
public:
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
    Failure(std::int32_t failureNumber, const QString &failureDescription);

    /// A failed call of the operating system: `errno` with its text.
    static Failure ofSystem(int errorNumber);

    /// Throws the failure of the last call of the operating system unless it has succeeded.
    static void unless(bool succeeded);

    const char *what() const noexcept override { return m_what.constData(); }

    std::int32_t number;
    QString description;

private:
    QByteArray m_what; ///< the description in UTF-8
};

} // namespace Tavrel
