#include "tools/sitetool/Findings.h"

#include "tools/console/Console.h"

#include <algorithm>

namespace Tavrel
{

namespace
{

struct Wording {
    const char *prefix;
    const char *conclusion;
};

/// In the order of Findings::Weight.
constexpr Wording Wordings[] = {
    {"ok: ", "A swipe would be stored."},
    {"note: ", "A swipe would be stored; see the notes."},
    {"UNKNOWN: ", "It is unknown whether a swipe would be stored."},
    {"WRONG PUNCHES: ", "A swipe would be stored wrongly."},
    {"STOPS PUNCHES: ", "A swipe would not be stored."},
};

} // namespace

void Findings::say(Weight weight, const QString &finding)
{
    m_worst = std::max(m_worst, weight);
    Console::say(QString::fromLatin1(Wordings[weight].prefix) + finding);
}

int Findings::conclude() const
{
    Console::say(QString::fromLatin1(Wordings[m_worst].conclusion));
    return m_worst < Unclear ? Console::Succeeded : Console::Failed;
}

} // namespace Tavrel
