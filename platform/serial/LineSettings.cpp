#include "platform/serial/LineSettings.h"

#include "platform/basics/Failure.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cerrno>

namespace Tavrel
{

namespace
{

/// A field of the text and its value.
template <typename Value> struct Choice {
    const char *text;
    Value value;
};

constexpr std::array Rates{
    Choice<speed_t>{"110", B110},       Choice<speed_t>{"300", B300},
    Choice<speed_t>{"600", B600},       Choice<speed_t>{"1200", B1200},
    Choice<speed_t>{"2400", B2400},     Choice<speed_t>{"4800", B4800},
    Choice<speed_t>{"9600", B9600},     Choice<speed_t>{"19200", B19200},
    Choice<speed_t>{"38400", B38400},   Choice<speed_t>{"57600", B57600},
    Choice<speed_t>{"115200", B115200},
};

constexpr std::array Parities{
    Choice<tcflag_t>{"N", 0},
    Choice<tcflag_t>{"O", PARENB | PARODD},
    Choice<tcflag_t>{"E", PARENB},
    Choice<tcflag_t>{"M", PARENB | PARODD | CMSPAR},
    Choice<tcflag_t>{"S", PARENB | CMSPAR},
};

constexpr std::array DataBits{Choice<tcflag_t>{"7", CS7}, Choice<tcflag_t>{"8", CS8}};
constexpr std::array StopBits{Choice<tcflag_t>{"1", 0}, Choice<tcflag_t>{"2", CSTOPB}};

template <typename Choices> auto valueOf(const Choices &choices, const QString &text)
{
    const auto found = std::ranges::find_if(
        choices, [&](const auto &choice) { return text == QLatin1String(choice.text); });
    if (found == choices.end())
        throw Failure::ofSystem(EINVAL);
    return found->value;
}

} // namespace

LineSettings parseLineSettings(const QString &text)
{
    const QStringList fields = text.toUpper().split(u',');
    if (fields.size() != 4)
        throw Failure::ofSystem(EINVAL);
    const tcflag_t parity = valueOf(Parities, fields[1]);
    return {valueOf(Rates, fields[0]),
            parity | valueOf(DataBits, fields[2]) | valueOf(StopBits, fields[3]), parity != 0};
}

} // namespace Tavrel
