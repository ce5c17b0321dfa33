#include "tools/forward/Pass.h"

#include "platform/basics/Failure.h"
#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/forward/Office.h"
#include "tools/forward/State.h"
#include "tools/records/Employees.h"
#include "tools/records/Forwarding.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QStringDecoder>
#include <QTimeZone>

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// The most punches that one statement sends, unless a single day has more.
constexpr qint64 BatchSize = 50'000;

QByteArray json(const QJsonArray &array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

qint64 countOf(const Days &days)
{
    qint64 count = 0;
    for (const auto &entry : days)
        count += entry.second.count;
    return count;
}

/// The most punches that a pass withdraws without being asked to: a tenth of an average day of the
/// last month, but at least 10, so that a correction passes, and at most 100.
qint64 mostWithdrawn(const Days &confirmed)
{
    constexpr std::ptrdiff_t Month = 31;
    const std::ptrdiff_t count = std::min(Month, std::ssize(confirmed));
    if (count == 0)
        return 0;
    const Days latest(std::prev(confirmed.end(), count), confirmed.end());
    return std::clamp<qint64>(countOf(latest) / count / 10, 10, 100);
}

class Pass
{
public:
    Pass(DoorFile &file, State &state) : m_file(file), m_state(state) {}

    /// Makes the office's punches those of the database. `mayWithdraw`: any number of them.
    void run(bool mayWithdraw);

    /// Makes the database's employees those of the office.
    void takeEmployees();

    /// Prints what was done.
    void say() const
    {
        Console::say(u"Punches sent: %1, withdrawn: %2. The office has all %3."_s.arg(m_added)
                         .arg(m_withdrawn)
                         .arg(countOf(m_state.confirmed)));
    }

private:
    /// What the office did with the punches of a day.
    struct Change {
        QByteArray day;
        qint64 added;
        qint64 withdrawn;
    };

    void greet();
    bool send(const Days &found);
    bool sendAtOnce(const std::vector<Days> &batches);
    bool collect(const Days &days, QJsonArray &punches);
    [[noreturn]] void refuse(const std::vector<Change> &changes, qint64 withdrawn);

    DoorFile &m_file;
    State &m_state;
    Office m_office;
    bool m_mayWithdraw = false;
    qint64 m_added = 0;
    qint64 m_withdrawn = 0;
};

/// Makes m_state.confirmed what the office has confirmed.
void Pass::greet()
{
    const QByteArray zone = QTimeZone::systemTimeZoneId();
    const QByteArray identity = m_file.identity().toLatin1();
    const QByteArray digest = m_office.query("SELECT tavrel.greet($1, $2)",
                                             {identity, zone.isEmpty() ? "UTC" : zone})[0][0];
    const auto own =
        QCryptographicHash::hash(linesOf(m_state.confirmed), QCryptographicHash::Sha256).toHex();
    if (own == digest)
        return;
    m_state.version.clear();
    m_state.confirmed = daysAt(m_office, m_file.identity());
}

void Pass::run(bool mayWithdraw)
{
    constexpr int MostRounds = 3;
    m_mayWithdraw = mayWithdraw;
    greet();
    bool isComplete = !m_state.version.isEmpty() && m_file.version().lasting == m_state.version;
    for (int round = 0; round < MostRounds && !isComplete; ++round) {
        m_state.version.clear();
        const std::optional<DoorFile::Scan> scan = m_file.scan();
        if (!scan)
            continue;
        m_state.unsendable = scan->unsendable;
        isComplete = send(scan->days);
        if (isComplete)
            m_state.version = scan->version;
    }
    if (!isComplete)
        throw NotDone{
            u"The database changes more often than it can be read; the next pass goes on."_s};
    m_office.query("SELECT tavrel.complete($1)", {m_file.identity().toLatin1()});
}

/// Sends the days that the office does not have like this. Returns false if some of them were
/// changed after they were found.
bool Pass::send(const Days &found)
{
    Days wanted = found;
    for (const auto &entry : m_state.confirmed)
        wanted.try_emplace(entry.first); // with no punches, if the database has none any more
    std::vector<Days> known(1);          // by the office
    std::vector<Days> unknown(1);
    for (const auto &[day, content] : wanted) {
        const auto confirmed = m_state.confirmed.find(day);
        const bool isKnown = confirmed != m_state.confirmed.end();
        if (isKnown && confirmed->second == content)
            continue;
        std::vector<Days> &batches = isKnown ? known : unknown;
        if (!batches.back().empty() && countOf(batches.back()) + content.count > BatchSize)
            batches.emplace_back();
        batches.back()[day] = content;
    }
    // Nothing can be withdrawn of an unknown day, so each batch of these is a transaction of its
    // own, and a first pass that is cut off goes on where it was.
    bool isComplete = true;
    for (const Days &batch : unknown)
        isComplete = sendAtOnce({batch}) && isComplete;
    return sendAtOnce(known) && isComplete;
}

/// The same for batches of days, in one transaction.
bool Pass::sendAtOnce(const std::vector<Days> &batches)
{
    bool isComplete = true;
    Days sent;
    std::vector<Change> changes;
    m_office.query("BEGIN");
    for (const Days &batch : batches) {
        QJsonArray punches;
        if (batch.empty() || !collect(batch, punches)) {
            isComplete = isComplete && batch.empty();
            continue;
        }
        QJsonArray days;
        for (const auto &[day, content] : batch)
            days.append(
                QJsonArray{QLatin1StringView(day), content.count, QString::number(content.digest)});
        for (const QByteArrayList &cells :
             m_office.query("SELECT * FROM tavrel.take($1, $2, $3)",
                            {m_file.identity().toLatin1(), json(days), json(punches)}))
            changes.push_back({cells[0], cells[1].toLongLong(), cells[2].toLongLong()});
        sent.insert(batch.begin(), batch.end());
    }
    qint64 withdrawn = 0;
    for (const Change &change : changes)
        withdrawn += change.withdrawn;
    if (!m_mayWithdraw && m_withdrawn + withdrawn > mostWithdrawn(m_state.confirmed))
        refuse(changes, withdrawn);
    m_office.query("COMMIT");

    for (const auto &[day, content] : sent) {
        m_state.confirmed.erase(day);
        if (content.count > 0)
            m_state.confirmed[day] = content;
    }
    for (const Change &change : changes)
        m_added += change.added;
    m_withdrawn += withdrawn;
    return isComplete;
}

/// Reads the punches of some days. Returns false if these were changed after they were found.
bool Pass::collect(const Days &days, QJsonArray &punches)
{
    QStringDecoder decoded(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom |
                                                     QStringDecoder::Flag::Stateless);
    Days present;
    for (const auto &entry : days)
        present[entry.first];
    m_file.read(
        [&](const PunchRow &punch) {
            if (punch.reason)
                return;
            present.find(punch.day())->second.add(punch);
            punches.append(QJsonArray{QLatin1StringView(punch.time.data(), std::ssize(punch.time)),
                                      punch.type, QString(decoded(punch.badge))});
        },
        &days);
    return present == days;
}

/// Prints what the pass would withdraw, and throws NotDone.
void Pass::refuse(const std::vector<Change> &changes, qint64 withdrawn)
{
    TextTable table({"Day", ">Office", ">Withdrawn", ">Added"});
    for (const Change &change : changes) {
        if (change.withdrawn > 0)
            table.add({QString::fromLatin1(change.day),
                       QString::number(m_state.confirmed[change.day].count),
                       QString::number(change.withdrawn), QString::number(change.added)});
    }
    table.print(TextTable::Aligned);
    throw NotDone{u"This would withdraw %1 punches at the office. Nothing is withdrawn. If this is "
                  "the door's database and they are wrong, run %2 run --withdraw."_s.arg(withdrawn)
                      .arg(Console::program())};
}

void Pass::takeEmployees()
{
    QMap<QString, QString> wanted;
    for (const QByteArrayList &cells : m_office.query("SELECT badge, name FROM tavrel.employee"))
        wanted[QString::fromUtf8(cells[0])] = QString::fromUtf8(cells[1]);
    if (wanted.isEmpty()) {
        Console::say(u"The office has no employees; those of the database stay."_s);
        return;
    }
    TimeDatabase &database = m_file.database();
    const auto present = [&] {
        QMap<QString, QString> names;
        Statement rows = database.statement(u"SELECT PersonalID, Name FROM Employee "
                                            "WHERE typeof(PersonalID) NOT IN ('blob', 'null')"_s);
        while (rows.step())
            names[rows.value(0).toVariant().toString()] = rows.value(1).toVariant().toString();
        return names;
    };
    if (present() == wanted)
        return;
    int count = 0;
    database.change([&] {
        const CommandLine note{{}, {{u"reason"_s, u"list of the office"_s}}, {}};
        const QMap<QString, QString> before = present();
        for (const auto &[badge, name] : before.asKeyValueRange()) {
            if (!wanted.contains(badge)) {
                setEmployee(database, badge, QString(), note);
                ++count;
            }
        }
        for (const auto &[badge, name] : wanted.asKeyValueRange()) {
            if (!before.contains(badge) || before[badge] != name) {
                setEmployee(database, badge, name, note);
                ++count;
            }
        }
    });
    Console::say(u"Employees changed after the list of the office: %1."_s.arg(count));
}

QString now()
{
    return QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s);
}

} // namespace

int adopt(const CommandLine &line)
{
    TimeDatabase database(line.file);
    Office office; // before the database is changed
    const QString identity = Forwarding::makeIdentity(database);
    const QByteArray other = office.query("SELECT tavrel.adopt($1)", {identity.toLatin1()})[0][0];
    const QByteArray door = office.query("SELECT session_user")[0][0];
    Console::say(u"The door %1 is bound to %2%3."_s.arg(
        QString::fromUtf8(door), line.file,
        other == "t" ? u", and no longer to another database"_s : QString()));
    return Console::Succeeded;
}

int run(const CommandLine &line)
{
    DoorFile file(line.file);
    State state(file.identity());
    state.lock();
    state.read();
    const auto fail = [&](int status, const QString &why) {
        state.save(status, u"At %1 the forwarding failed: %2 %3"_s.arg(
                               now(), why,
                               state.lastComplete.isEmpty()
                                   ? u"The office never had all punches."_s
                                   : u"It had all punches at %1."_s.arg(state.lastComplete)));
    };
    try {
        Pass pass(file, state);
        pass.run(line.has(u"withdraw"_s));
        state.lastComplete = now();
        if (line.has(u"employees"_s))
            pass.takeEmployees();
        pass.say();
    } catch (const NotDone &notDone) {
        fail(notDone.status, notDone.why);
        throw;
    } catch (const Failure &failure) {
        fail(Console::Failed, failure.description + u'.');
        throw;
    }
    const QString unsendable =
        state.unsendable == 0
            ? QString()
            : u"Rows that cannot be sent: %1. %2 status lists them."_s.arg(state.unsendable)
                  .arg(Console::program());
    const Console::Status status = unsendable.isEmpty() ? Console::Succeeded : Console::Failed;
    state.save(status, u"At %1 the office had all punches: %2. %3"_s.arg(state.lastComplete)
                           .arg(countOf(state.confirmed))
                           .arg(unsendable)
                           .trimmed());
    return unsendable.isEmpty() ? status : Console::complain(unsendable);
}

} // namespace Tavrel
