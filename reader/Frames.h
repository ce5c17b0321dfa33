#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace Tavrel
{

/// The frames on the line between the system and the reader, as pure functions from bytes to
/// tracks and back. Index errors are failure 9, lengths beyond 16 bits failure 6.
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

/// The frame that hands tracks on, empty ones left out:
///
///     STX  [ % text E ]  [ ; text E ]  [ + text E ]  ETX  [ block check ]
///
/// where E is `endSentinel`. The block check is the XOR of all bytes behind STX, ETX included.
/// Characters are taken through ISO 8859-1. Failure 6 when a text is longer than 32767
/// characters or the frame would pass index 32767.
QByteArray buildTracks(const Tracks &tracks, const StartSentinels &startSentinels, char endSentinel,
                       bool withBlockCheck);

/// Whether all characters of a text may stand on a track, 0 to 2: codes 32 to 95 on the first
/// track, 48 to 62 on the others. A character that ISO 8859-1 lacks may not. Failure 6 when the
/// text is longer than 32767 characters.
bool isAllowedOnTrack(std::size_t track, const QString &text);

/// The command that asks the reader to describe itself: STX ESC "D" ETX.
QByteArray buildDownloadCommand();

/// The command that sets the reader's line, STX ESC "S" `parameters` ETX.
QByteArray buildParameterCommand(char parameters);

/// The parameter byte of that command. Bits 0 and 1 stand for the rate, the first four characters
/// of `baudRate`; bits 2 and 3 for the parity, its sixth character; bit 4 for the block check.
/// Bit 7 makes the byte's own parity that of `oldParity`, the parity letter that the reader's
/// line has now. Letters are lower case; what is none of the known texts leaves its bits 0.
char lineParameters(const QString &baudRate, bool blockCheck, const QString &oldParity);

/// The XOR of all bytes behind the first.
char blockCheck(const QByteArray &frame);

/// What one read has received: up to 513 bytes, index 0 to 512, all zero at first.
class ReceiveBuffer
{
public:
    static constexpr int Size = 513;

    /// Failure 9 when `bytes` do not fit; those that fit are taken all the same.
    void append(const QByteArray &bytes);

    int count() const { return m_count; }

    /// Failure 9 outside the buffer. Behind the received bytes there are zeros.
    char at(int index) const;

    /// Whether an ETX has been received.
    bool hasEnded() const;

private:
    std::array<char, Size> m_bytes{};
    std::int16_t m_count = 0;
};

/// Takes the three track texts out of a frame:
///
///     STX  [ % data ? ]  [ ; data ? ]  [ + data ? ]  ETX
///
/// where any "?" may be a "<". The blocks follow each other in this order. A track that the frame
/// holds replaces the text given for it; the others stay as they are. Blanks vanish from a track
/// wherever they stand. A track without end sentinel runs to the last received byte. A frame that
/// does not begin with STX holds nothing. Failure 9 when the parser is led past the buffer; what
/// it has taken until then stays.
void parseTracks(const ReceiveBuffer &frame, const StartSentinels &startSentinels,
                 const EndSentinels &endSentinels, QString &track1, QString &track2,
                 QString &track3);

/// Which end sentinel comes first among all received bytes, as its index in `endSentinels`;
/// nothing when there is neither.
std::optional<int> firstEndSentinel(const ReceiveBuffer &frame, const EndSentinels &endSentinels);

} // namespace Frames

} // namespace Tavrel
