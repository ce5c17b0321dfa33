#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace Tavrel
{

/// The frames exchanged with the reader, as pure functions from bytes to tracks and back. Index
/// errors throw Failure::SubscriptOutOfRange, lengths beyond 16 bits Failure::Overflow.
namespace Frames
{

inline constexpr char Stx = 2;
inline constexpr char Etx = 3;
inline constexpr char Nak = 21;
inline constexpr char Esc = 27;

inline constexpr int TrackCount = 3;
using Tracks = std::array<QString, TrackCount>;

/// The start sentinels of tracks 1, 2 and 3, and the end sentinels of device types 0 and 1.
using StartSentinels = std::array<char, TrackCount>;
using EndSentinels = std::array<char, 2>;
inline constexpr StartSentinels DefaultStartSentinels{'%', ';', '+'};
inline constexpr EndSentinels DefaultEndSentinels{'?', '<'};

/// The frame that sends tracks, without the empty ones:
///
///     STX  [ % text E ]  [ ; text E ]  [ + text E ]  ETX  [ block check ]
///
/// where E is `endSentinel`. The block check is the XOR of all bytes after STX, including ETX.
/// Characters are encoded in ISO 8859-1. Throws Failure::Overflow if a text is longer than 32767
/// characters or the frame would exceed index 32767.
QByteArray buildTracks(const Tracks &tracks, const StartSentinels &startSentinels, char endSentinel,
                       bool withBlockCheck);

/// Whether all characters of a text are allowed on a track, 0 to 2: codes 32 to 95 on the first, 48
/// to 62 on the others. Throws Failure::Overflow if the text is longer than 32767 characters.
bool isAllowedOnTrack(std::size_t track, const QString &text);

/// The command that asks the reader to describe itself: STX ESC "D" ETX.
QByteArray buildDownloadCommand();

/// The command that sets the reader's line, STX ESC "S" `parameters` ETX.
QByteArray buildParameterCommand(char parameters);

/// The parameter byte of that command. Bits 0 and 1 are the rate, from the first four characters of
/// `baudRate`; bits 2 and 3 the parity, from its sixth character; bit 4 the block check. Bit 7
/// gives the byte itself the parity `oldParity`, the current parity letter of the reader's line.
/// Letters are lower case; unknown text leaves its bits 0.
char lineParameters(const QString &baudRate, bool blockCheck, const QString &oldParity);

/// The XOR of all bytes after the first.
char blockCheck(const QByteArray &frame);

/// What one read has received: up to 513 bytes, index 0 to 512, initially zero.
class ReceiveBuffer
{
public:
    static constexpr int Size = 513;

    /// Throws Failure::SubscriptOutOfRange if `bytes` do not fit; those that fit are appended
    /// first.
    void append(const QByteArray &bytes);

    int count() const { return m_count; }

    /// The byte at `index`, zero after the received ones. Throws Failure::SubscriptOutOfRange
    /// outside the buffer.
    char at(int index) const;

    /// Whether an ETX has been received.
    bool hasEnded() const;

private:
    std::array<char, Size> m_bytes{};
    std::int16_t m_count = 0;
};

/// Extracts the three track texts from a frame:
///
///     STX  [ % data ? ]  [ ; data ? ]  [ + data ? ]  ETX
///
/// where any "?" may be a "<". The blocks are in this order. A track in the frame replaces the text
/// passed for it; the others are unchanged. Blanks in a track are dropped wherever they are. A
/// track without an end sentinel runs to the last received byte. A frame that does not begin with
/// STX has no tracks. Throws Failure::SubscriptOutOfRange if parsing runs past the buffer; what it
/// has extracted until then is kept.
void parseTracks(const ReceiveBuffer &frame, const StartSentinels &startSentinels,
                 const EndSentinels &endSentinels, QString &track1, QString &track2,
                 QString &track3);

/// The end sentinel that comes first among all received bytes, as its index in `endSentinels`;
/// empty if there is neither.
std::optional<int> firstEndSentinel(const ReceiveBuffer &frame, const EndSentinels &endSentinels);

} // namespace Frames

} // namespace Tavrel
