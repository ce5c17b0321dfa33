#include "tools/sitetool/CheckSettingsAndPorts.h"

#include "app/settings/Choices.h"
#include "app/settings/InstanceLockFiles.h"
#include "app/settings/SerialDevice.h"
#include "app/settings/SettingsStore.h"
#include "app/settings/UserSettings.h"
#include "platform/basics/ApplicationTitle.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"
#include "platform/text/DatesAndTimes.h"
#include "tools/sitetool/LockHolder.h"
#include "tools/sitetool/Rights.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <limits>
#include <optional>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr char SetPortRight[] =
    " Plug the reader in, correct the link, or choose another port in Options.";
constexpr char SetRight[] = "Correct it in Options and press OK.";

void checkSettingsFile(Findings &findings)
{
    const QString path = settingsFile(ApplicationTitle);
    const QFileInfo file(path);
    if (!file.exists() && !file.isSymLink()) {
        findings.say(Findings::Good,
                     u"%1 does not exist yet: all settings have their defaults."_s.arg(path));
        return;
    }
    QFile content(path);
    QString wrong;
    if (!file.isFile())
        wrong = u"not a regular file"_s;
    else if (!content.open(QIODevice::ReadOnly))
        wrong = u"not readable by this user"_s;
    else if (!content.readAll().isValidUtf8() ||
             QSettings(path, QSettings::NativeFormat).status() != QSettings::NoError)
        wrong = u"not an INI file in UTF-8"_s;

    if (wrong.isEmpty())
        findings.say(Findings::Good, u"The settings are in %1."_s.arg(path));
    else
        findings.say(Findings::Notable,
                     u"%1 is %2: all settings have their defaults, and Options cannot "
                     "save any. Move it away."_s.arg(path, wrong));
}

QString shown(const UserSettings::Key &key)
{
    return u"%1/%2 is \"%3\""_s.arg(QLatin1String(key.section), QLatin1String(key.name),
                                    UserSettings::read(key));
}

/// Returns the position stored under `key`, as the clock reads it; none if it cannot be read.
/// `ifOutside`: the weight of a position beyond `choices`.
template <typename Entries>
std::optional<std::int16_t> checkPosition(const UserSettings::Key &key, const Entries &choices,
                                          Findings::Weight ifOutside, Findings &findings)
{
    std::optional<std::int16_t> position;
    try {
        position = lenientNumber(UserSettings::read(key));
        const QString entry = Choices::entryAt(choices, *position);
        const bool isPlain = UserSettings::read(key) == QString::number(*position);
        findings.say(isPlain ? Findings::Good : Findings::Notable,
                     shown(key) + (isPlain ? u": %1."_s.arg(entry)
                                           : u", which is read as %1: %2. %3"_s.arg(*position).arg(
                                                 entry, QLatin1String(SetRight))));
    } catch (const Failure &) {
        findings.say(position ? ifOutside : Findings::Stopping,
                     shown(key) + u", which is out of range. %1"_s.arg(QLatin1String(SetRight)));
    }
    return position;
}

/// A setting of the auto-switch, and the conversion by which the clock reads it.
struct SwitchSetting {
    UserSettings::Key key;
    void (*convert)(const QString &text);
};
constexpr SwitchSetting SwitchSettings[] = {
    {UserSettings::ClockIn, [](const QString &text) { timeText(text); }},
    {UserSettings::ClockOut, [](const QString &text) { timeText(text); }},
    {UserSettings::AutoSwitch, [](const QString &text) { strictNumber(text); }},
};

void checkAutoSwitch(Findings &findings)
{
    for (const auto &[key, convert] : SwitchSettings) {
        try {
            convert(UserSettings::read(key));
            findings.say(Findings::Good, shown(key) + u'.');
        } catch (const Failure &failure) {
            findings.say(Findings::Notable,
                         shown(key) + u" (%1): the clock does not switch "
                                      "automatically between Clock In and Clock Out. %2"_s.arg(
                                          failure.description, QLatin1String(SetRight)));
        }
    }
}

/// Whether the device is a pseudo-terminal, or a serial line with hardware according to /sys.
bool isLine(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISCHR(status.st_mode))
        return false;
    if (QFileInfo(path).canonicalPath() == u"/dev/pts")
        return true;
    const QString device =
        u"/sys/dev/char/%1:%2"_s.arg(major(status.st_rdev)).arg(minor(status.st_rdev));
    QFile hardware(device + u"/type"_s); // 0 for a port without hardware
    const bool isReserved =
        hardware.open(QIODevice::ReadOnly) && hardware.readAll().trimmed() == "0";
    return QFileInfo(device + u"/subsystem"_s).canonicalFilePath().endsWith(u"/tty") && !isReserved;
}

/// Why the clock could not open the device, and what to do about it if `isUsed`; empty if it could.
QString whyUnusable(const QString &path, bool isUsed)
{
    const QString setRight = isUsed ? QString::fromLatin1(SetPortRight) : QString();
    if (const QString missing = whyInaccessible(path, F_OK); !missing.isEmpty())
        return missing + setRight;
    if (!isLine(path))
        return u"It is not a serial line."_s + setRight;
    return whyInaccessible(path, R_OK | W_OK);
}

void checkPort(int port, bool isUsed, const std::optional<LockHolder> &clock, Findings &findings)
{
    const QString path = serialDevice(static_cast<std::int16_t>(port));
    QString line = u"COM%1 is %2"_s.arg(port).arg(path);
    if (const QFileInfo link(path); link.isSymLink())
        line += u", a link to "_s + link.symLinkTarget();
    line += u'.';

    const QString reason = whyUnusable(path, isUsed);
    const auto holder = lockHolder(path);
    const bool isHeldByClock = clock && holder && clock->process == holder->process;
    auto weight = isUsed ? Findings::Stopping : Findings::Good;
    if (!reason.isEmpty())
        line += u' ' + reason;
    else if (holder && !isHeldByClock)
        line += u" %1 is using it."_s.arg(holder->name) +
                (isUsed ? u" Close that program, then open and close Options."_s : QString());
    else if (isUsed && clock && !holder)
        line += u" The running clock has not opened it: open and close Options."_s;
    else
        weight = Findings::Good;
    if (isHeldByClock)
        line += u" The clock is using it."_s;
    findings.say(weight, isUsed ? line : line + u" It is not selected."_s);
}

std::optional<LockHolder> runningClock()
{
    for (const QString &path : instanceLockFiles()) {
        if (auto holder = lockHolder(path))
            return holder;
    }
    return {};
}

} // namespace

void checkSettingsAndPorts(Findings &findings)
{
    checkSettingsFile(findings);
    // A port beyond those in the list may exist all the same; the other settings have no such case.
    const auto position =
        checkPosition(UserSettings::Comport, Choices::Ports, Findings::Notable, findings);
    checkPosition(UserSettings::BaudRate, Choices::BaudRates, Findings::Stopping, findings);
    checkPosition(UserSettings::Format, Choices::LineFormats, Findings::Stopping, findings);
    checkPosition(UserSettings::Track, Choices::Tracks, Findings::Stopping, findings);
    checkAutoSwitch(findings);

    const auto clock = runningClock();
    findings.say(clock ? Findings::Good : Findings::Stopping,
                 clock ? u"The clock is running: %1."_s.arg(clock->name)
                       : u"The clock is not running for this user: start it."_s);
    constexpr int Ports = static_cast<int>(Choices::Ports.size());
    for (int port = 1; port <= Ports; ++port)
        checkPort(port, position == port - 1, clock, findings);
    if (position && (*position < 0 || *position >= Ports))
        checkPort(*position + 1, true, clock, findings);
}

} // namespace Tavrel
