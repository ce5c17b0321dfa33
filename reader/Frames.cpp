#include "reader/Frames.h"

#include "platform/basics/Failure.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>
#include <numeric>

namespace Tavrel
{

namespace
{

struct CodeRange {
    ushort first;
    ushort last;
};

constexpr std::array<CodeRange, Frames::TrackCount> AllowedCodes{{{32, 95}, {48, 62}, {48, 62}}};

/// A text in a command and its bits.
struct LineCode {
    QLatin1StringView text;
    unsigned bits;
};

constexpr std::array Rates{
    LineCode{QLatin1StringView("1200"), 0},
    LineCode{QLatin1StringView("2400"), 1},
    LineCode{QLatin1StringView("4800"), 2},
    LineCode{QLatin1StringView("9600"), 3},
};
constexpr std::array Parities{
    LineCode{QLatin1StringView("o"), 0 << 2}, LineCode{QLatin1StringView("e"), 1 << 2},
    LineCode{QLatin1StringView("m"), 2 << 2}, LineCode{QLatin1StringView("s"), 3 << 2},
    LineCode{QLatin1StringView("n"), 3 << 2},
};
constexpr unsigned BlockCheckBit = 1 << 4;
constexpr unsigned OwnParityBit = 1 << 7;

template <typename Codes> unsigned bitsOf(const Codes &codes, const QString &text)
{
    const auto found = std::ranges::find(codes, text, &LineCode::text);
    return found != codes.end() ? found->bits : 0;
}

} // namespace

namespace Frames
{

bool isAllowedOnTrack(std::size_t track, const QString &text)
{
    if (text.size() > std::numeric_limits<std::int16_t>::max())
        throw Failure(Failure::Overflow);
    const CodeRange allowed = AllowedCodes[track];
    return std::ranges::all_of(text, [&](QChar character) {
        return allowed.first <= character.unicode() && character.unicode() <= allowed.last;
    });
}

QByteArray buildDownloadCommand()
{
    return {std::data({Stx, Esc, 'D', Etx}), 4};
}

QByteArray buildParameterCommand(char parameters)
{
    return {std::data({Stx, Esc, 'S', parameters, Etx}), 5};
}

char lineParameters(const QString &baudRate, bool blockCheck, const QString &oldParity)
{
    const unsigned bits = bitsOf(Rates, baudRate.left(4)) | bitsOf(Parities, baudRate.mid(5, 1)) |
                          (blockCheck ? BlockCheckBit : 0);
    const bool oddOnes = std::popcount(bits) % 2 != 0;
    const bool ownParity =
        (oldParity == u"o" && !oddOnes) || (oldParity == u"e" && oddOnes) || oldParity == u"m";
    return static_cast<char>(bits | (ownParity ? OwnParityBit : 0));
}

QByteArray buildTracks(const Tracks &tracks, const StartSentinels &startSentinels, char endSentinel,
                       bool withBlockCheck)
{
    constexpr qsizetype LargestIndex = std::numeric_limits<std::int16_t>::max();

    QByteArray frame(1, Stx);
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (tracks[i].size() > LargestIndex)
            throw Failure(Failure::Overflow);
        if (!tracks[i].isEmpty())
            frame += startSentinels[i] + tracks[i].toLatin1() + endSentinel;
    }
    frame += Etx;
    if (withBlockCheck)
        frame += blockCheck(frame);
    if (frame.size() - 1 > LargestIndex)
        throw Failure(Failure::Overflow);
    return frame;
}

char blockCheck(const QByteArray &frame)
{
    return std::accumulate(frame.begin() + 1, frame.end(), '\0', std::bit_xor<char>());
}

void ReceiveBuffer::append(const QByteArray &bytes)
{
    for (const char byte : bytes) {
        if (m_count == Size)
            throw Failure(Failure::SubscriptOutOfRange);
        m_bytes[static_cast<std::size_t>(m_count++)] = byte;
    }
}

char ReceiveBuffer::at(int index) const
{
    if (index < 0 || index >= Size)
        throw Failure(Failure::SubscriptOutOfRange);
    return m_bytes[static_cast<std::size_t>(index)];
}

bool ReceiveBuffer::hasEnded() const
{
    const auto end = m_bytes.begin() + m_count;
    return std::find(m_bytes.begin(), end, Etx) != end;
}

void parseTracks(const ReceiveBuffer &frame, const StartSentinels &startSentinels,
                 const EndSentinels &endSentinels, QString &track1, QString &track2,
                 QString &track3)
{
    if (frame.at(0) != Stx)
        return;

    const std::array<QString *, TrackCount> tracks{&track1, &track2, &track3};
    int position = 1;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (frame.at(position) != startSentinels[i])
            continue;
        tracks[i]->clear();
        ++position;
        while (position < frame.count() &&
               std::ranges::find(endSentinels, frame.at(position)) == endSentinels.end()) {
            if (const char byte = frame.at(position); byte != ' ')
                *tracks[i] += QLatin1Char(byte);
            ++position;
        }
        ++position;
    }
}

std::optional<int> firstEndSentinel(const ReceiveBuffer &frame, const EndSentinels &endSentinels)
{
    for (int i = 0; i < frame.count(); ++i) {
        const auto found = std::ranges::find(endSentinels, frame.at(i));
        if (found != endSentinels.end())
            return static_cast<int>(found - endSentinels.begin());
    }
    return {};
}

} // namespace Frames

} // namespace Tavrel
