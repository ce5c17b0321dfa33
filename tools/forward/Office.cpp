#include "tools/forward/Office.h"

#include "tools/console/NotDone.h"

#include <QDeadlineTimer>

#include <libpq-fe.h>
#include <poll.h>

#include <cstring>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

struct FreeOptions {
    void operator()(PQconninfoOption *options) const { PQconninfoFree(options); }
};
struct ClearResult {
    void operator()(PGresult *result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ClearResult>;

/// The value of a connection option in the environment or the service file.
QByteArray preset(const char *keyword)
{
    const std::unique_ptr<PQconninfoOption, FreeOptions> options(PQconndefaults());
    for (const PQconninfoOption *option = options.get(); option && option->keyword; ++option) {
        if (std::strcmp(option->keyword, keyword) == 0)
            return option->val;
    }
    return {};
}

/// What to do about some errors of the server, by the SQLSTATE.
struct Advice {
    const char *state;
    const char *text;
};
constexpr Advice Advices[] = {
    {"3F000", "The office's owner makes the schema: tavrel-forward schema | psql."},
    {"42883", "The office's owner upgrades the schema: tavrel-forward schema | psql."},
    {"57014", "If this happens again, set PGOPTIONS='-c statement_timeout=5min'."}, // canceled
    {"42501", "Log in as a door, which the office's owner makes: tavrel-forward door NAME | psql."},
};

QString line(const char *message)
{
    return QString::fromUtf8(message).simplified();
}

} // namespace

void Office::Finish::operator()(pg_conn *connection) const
{
    PQfinish(connection);
}

Office::Office()
{
    constexpr char StatementTimeout[] = "-c statement_timeout=30s "; // a later -c takes precedence
    const QByteArray timeout = preset("connect_timeout");
    const QByteArray options = StatementTimeout + preset("options");
    const char *const keywords[] = {"connect_timeout", "options", "client_encoding",
                                    "fallback_application_name", nullptr};
    const char *const values[] = {timeout.isEmpty() ? "10" : timeout.constData(),
                                  options.constData(), "UTF8", "tavrel-forward", nullptr};
    m_connection.reset(PQconnectdbParams(keywords, values, 0));
    if (PQstatus(m_connection.get()) != CONNECTION_OK)
        failAsNotReached();
    PQsetNoticeProcessor(
        m_connection.get(), [](void *, const char *) {}, nullptr);
    PQsetnonblocking(m_connection.get(), 1);

    // 0 means that a statement may take any time.
    constexpr std::chrono::seconds ForTheWay(10);
    const std::chrono::milliseconds longest(
        query("SELECT setting FROM pg_settings WHERE name = 'statement_timeout'")[0][0]
            .toLongLong());
    m_patience = longest.count() > 0 ? longest + ForTheWay : std::chrono::hours(24);
}

std::vector<QByteArrayList> Office::query(const char *sql, const QByteArrayList &parameters)
{
    pg_conn *connection = m_connection.get();
    std::vector<const char *> values;
    values.reserve(static_cast<std::size_t>(parameters.size()));
    for (const QByteArray &parameter : parameters)
        values.push_back(parameter.constData());
    if (!PQsendQueryParams(connection, sql, static_cast<int>(values.size()), nullptr, values.data(),
                           nullptr, nullptr, 0))
        failAsNotReached();

    std::vector<QByteArrayList> rows;
    bool hasFailed = false;
    QString failure;
    for (awaitResult(); const Result result{PQgetResult(connection)}; awaitResult()) {
        const ExecStatusType status = PQresultStatus(result.get());
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
            hasFailed = true;
            const char *state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
            const char *message = PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY);
            // Without one, the error is libpq's own, such as a lack of memory for the rows.
            failure = line(message ? message : PQresultErrorMessage(result.get()));
            if (const char *hint = PQresultErrorField(result.get(), PG_DIAG_MESSAGE_HINT))
                failure += u' ' + line(hint);
            for (const Advice &advice : Advices) {
                if (state && std::strcmp(advice.state, state) == 0)
                    failure += u". "_s + QString::fromLatin1(advice.text);
            }
        }
        for (int row = 0; row < PQntuples(result.get()); ++row) {
            QByteArrayList &cells = rows.emplace_back();
            for (int column = 0; column < PQnfields(result.get()); ++column)
                cells += QByteArray(PQgetvalue(result.get(), row, column),
                                    PQgetlength(result.get(), row, column));
        }
    }
    if (PQstatus(connection) != CONNECTION_OK)
        failAsNotReached();
    if (hasFailed)
        throw NotDone{u"The office refuses: "_s + failure};
    return rows;
}

/// Sends what is not sent yet, and waits until PQgetResult does not block.
void Office::awaitResult()
{
    const QDeadlineTimer end(m_patience);
    int unsent = 0;
    while ((unsent = PQflush(m_connection.get())) > 0 || PQisBusy(m_connection.get())) {
        const short events = unsent > 0 ? POLLIN | POLLOUT : POLLIN;
        pollfd socket{PQsocket(m_connection.get()), events, 0};
        const auto left = static_cast<int>(end.remainingTime());
        if (::poll(&socket, 1, left) == 0)
            throw NotDone{u"The office has stopped answering."_s, NotReached};
        if (!PQconsumeInput(m_connection.get()))
            break; // the result says why
    }
}

void Office::failAsNotReached() const
{
    throw NotDone{u"Cannot reach the office (%1). The punches wait here for the next pass. Check "
                  "the network, the server, PGHOST, PGDATABASE, PGUSER and the password."_s.arg(
                      line(PQerrorMessage(m_connection.get()))),
                  NotReached};
}

Days daysAt(Office &office, const QString &identity)
{
    Days days;
    for (const QByteArrayList &cells :
         office.query("SELECT * FROM tavrel.days($1)", {identity.toLatin1()}))
        days[cells[0]] = {cells[1].toLongLong(), cells[2].toULongLong()};
    return days;
}

} // namespace Tavrel
