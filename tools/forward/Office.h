#pragma once

#include "tools/forward/DoorFile.h"

#include <QByteArrayList>
#include <QString>

#include <chrono>
#include <memory>
#include <vector>

struct pg_conn;

namespace Tavrel
{

/// A connection to the office's PostgreSQL server, which is found by the conventions of libpq:
/// its environment variables, service file and password file.
///
/// Every wait has an end, also if the server or the network falls silent. Failures are thrown as
/// NotDone: with the status NotReached if the office cannot be reached, or no longer, and otherwise
/// with what the server has to say. What is not committed by then is undone.
class Office
{
public:
    static constexpr int NotReached = 75;

    /// Connects. Unless they are set, the connection may take 10 s, and a statement 30 s.
    Office();

    /// Runs one statement with parameters in UTF-8 for $1, $2 and so on. Returns its rows, whose
    /// values are text; Null is empty.
    std::vector<QByteArrayList> query(const char *sql, const QByteArrayList &parameters = {});

private:
    struct Finish {
        void operator()(pg_conn *connection) const;
    };

    void awaitResult();
    [[noreturn]] void failAsNotReached() const;

    std::unique_ptr<pg_conn, Finish> m_connection;
    std::chrono::milliseconds m_patience{40'000}; ///< for an answer
};

/// The days of the door that is bound to the database `identity`, as they are at the office now.
Days daysAt(Office &office, const QString &identity);

} // namespace Tavrel
