/// A look-up and a punch on a damaged database: each succeeds completely or shows one message box.

#include "fuzz/Answer.h"
#include "fuzz/Damage.h"
#include "store/GetEmployeeName.h"
#include "store/SavePunch.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/TestDatabase.h"

using namespace Tavrel;

using namespace std::chrono_literals;

namespace
{

constexpr qsizetype PageSize = 512; // so that tables have several pages in a small file

const TestDatabase &sample()
{
    static const TestDatabase database(
        "INSERT INTO RawData VALUES (4, 9, '2026-01-02 03:04:05', 'T-200');"
        "INSERT INTO RawData VALUES (5, 40, '2026-01-02 03:04:05', 'MSR');"
        "WITH n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 40)"
        "INSERT INTO RawDataDetails SELECT 5, 1000 + i, 1, '2026-01-02 03:04:05', 0, 0 FROM n;"
        "PRAGMA page_size = 512; VACUUM");
    return database;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QByteArray whole = TemporaryHome::read(sample().file());
    const auto ask = [](const char *query) { return answer(sample().file().toUtf8(), query); };
    Input input(data, size);
    const QDir folder(sample().folder());
    for (const QString &left : folder.entryList(QDir::Files)) // including a journal
        QFile::remove(folder.filePath(left));
    TemporaryHome::write(sample().file(), damaged(whole, PageSize, input));

    ScriptedHost host;
    DataEnvironment environment;
    environment.conOV.ConnectionTimeout = environment.conOV.CommandTimeout = 500ms;
    environment.conOV.ConnectionString(sample().connectionString());

    QString name;
    GetEmployeeName(host, environment, QStringLiteral("00123"), name);
    require(host.boxes.size() <= 1, "a look-up shows one box at most");
    require(host.boxes.isEmpty() || name.isNull(), "a failed look-up leaves the name unchanged");

    const char *const punches = "SELECT count(*) FROM RawDataDetails WHERE PersonalID = 'A77'";
    const char *const check = "PRAGMA integrity_check";
    const bool isSound = ask(check) == "ok";
    const auto before = ask(punches);
    host.boxes.clear();
    SavePunch(host, environment, QStringLiteral("A77"), host.now, 1);
    const bool isStored = host.boxes.isEmpty();
    const auto after = ask(punches);
    require(host.boxes.size() <= 1, "a punch shows one box at most");
    require(!isSound || ask(check) == "ok", "a punch does no damage");
    // On a page that lists used bytes as free the new row may overwrite an old one, which only a
    // check of the whole file would show.
    if (before && after && (isSound || !isStored))
        require(after->toInt() - before->toInt() == int{isStored}, "a punch is one row, or a box");
    if (isStored)
        require(ask("SELECT PersonalID FROM RawDataDetails ORDER BY rowid DESC") == "A77",
                "a stored punch can be read");
    return 0;
}
