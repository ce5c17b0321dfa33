/// Frames are parsed as a second, simpler parser does it, and texts that may be written are read
/// back.

#include "reader/Frames.h"

#include "fuzz/Input.h"
#include "tests/support/failureOf.h"

using namespace Tavrel;

using namespace Frames;

namespace
{

/// The result of reading a frame, and the failure that ended it.
struct Reading {
    Tracks tracks{QStringLiteral("-"), QStringLiteral("-"), QStringLiteral("-")};
    std::optional<int> device;
    int failure = 0;
    bool operator==(const Reading &) const = default;
};

Reading readByParser(const ReceiveBuffer &frame)
{
    Reading reading;
    Tracks &tracks = reading.tracks;
    reading.failure = failureOf([&] {
        parseTracks(frame, DefaultStartSentinels, DefaultEndSentinels, tracks[0], tracks[1],
                    tracks[2]);
    });
    reading.device = firstEndSentinel(frame, DefaultEndSentinels);
    return reading;
}

bool isEnd(char byte)
{
    return byte == '?' || byte == '<';
}

Reading readSimply(const QByteArray &received)
{
    Reading reading;
    const auto firstEnd = std::find_if(received.begin(), received.end(), isEnd);
    if (firstEnd != received.end())
        reading.device = *firstEnd == '<' ? 1 : 0;

    const QByteArray frame = received.leftJustified(ReceiveBuffer::Size, '\0');
    qsizetype at = 1;
    for (std::size_t track = 0; frame[0] == Stx && track < TrackCount; ++track) {
        if (at >= frame.size()) {
            reading.failure = Failure::SubscriptOutOfRange;
            break;
        }
        if (frame[at] != "%;+"[track])
            continue;
        const auto begin = received.begin() + at + 1;
        const auto end = std::find_if(begin, received.end(), isEnd);
        reading.tracks[track] = QString::fromLatin1(begin, end - begin).remove(u' ');
        at += end - begin + 2;
    }
    return reading;
}

/// Up to 63 characters that are allowed on the track and are not end sentinels.
QString trackText(Input &input, std::size_t track)
{
    QString text;
    for (int left = input.byte() % 64; left > 0; --left) {
        const int code = track == 0 ? 32 + input.byte() % 64 : 48 + input.byte() % 15;
        if (!isEnd(static_cast<char>(code)))
            text += QChar(code);
    }
    require(isAllowedOnTrack(track, text), "the characters are allowed");
    return text;
}

void checkRoundTrip(Input input)
{
    const auto device = static_cast<std::size_t>(input.byte() % 2);
    const bool withBlockCheck = input.byte() % 2 != 0;
    Reading written;
    Tracks texts;
    for (std::size_t track = 0; track < TrackCount; ++track) {
        texts[track] = trackText(input, track);
        if (texts[track].isEmpty())
            continue;
        written.tracks[track] = QString(texts[track]).remove(u' ');
        written.device = static_cast<int>(device);
    }
    ReceiveBuffer buffer;
    buffer.append(
        buildTracks(texts, DefaultStartSentinels, DefaultEndSentinels[device], withBlockCheck));
    require(buffer.hasEnded() && readByParser(buffer) == written, "what is written is read back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    checkRoundTrip(input);

    const QByteArray first = input.bytes(input.word());
    const QByteArray second = input.rest();
    const QByteArray received = (first + second).left(ReceiveBuffer::Size);
    ReceiveBuffer buffer;
    const int failure = failureOf([&] {
        buffer.append(first);
        buffer.append(second);
    });
    const bool fits = first.size() + second.size() == received.size();
    require(failure == (fits ? 0 : Failure::SubscriptOutOfRange),
            "what does not fit is SubscriptOutOfRange");
    require(buffer.count() == received.size(), "what fits is appended");
    require(buffer.hasEnded() == received.contains(Etx), "ETX ends a frame");
    require(readByParser(buffer) == readSimply(received), "both parsers agree");
    return 0;
}
