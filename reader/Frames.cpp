#include "reader/Frames.h"

#include "platform/Failure.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>

namespace Frames
{

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
