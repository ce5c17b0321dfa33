/// Marks split between two reads decode like whole ones, and what the kernel would write for good
/// and bad bytes decodes to those bytes.

#include "fuzz/Input.h"
#include "platform/serial/MSComm.h"
#include "platform/serial/ParityMarks.h"

using namespace Tavrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QByteArray raw = input.bytes(64); // each cut decodes all of it again
    const QByteArray whole = ParityMarks().decode(raw);
    ParityMarks byteByByte;
    QByteArray decoded;
    for (qsizetype cut = 0; cut < raw.size(); ++cut) {
        ParityMarks once;
        const QByteArray before = once.decode(raw.left(cut));
        require(before + once.decode(raw.mid(cut)) == whole, "one cut changes nothing");
        decoded += byteByByte.decode(raw.mid(cut, 1));
    }
    require(decoded == whole, "cuts everywhere change nothing");

    QByteArray marked;
    QByteArray expected;
    for (qsizetype i = 0; i + 1 < raw.size(); i += 2) {
        const char byte = raw[i];
        const bool isBad = raw[i + 1] % 2 != 0;
        marked += isBad ? QByteArray("\xFF\0", 2) : QByteArray(byte == '\xFF' ? 1 : 0, '\xFF');
        marked += byte;
        expected += isBad ? MSComm::ParityReplace : byte;
    }
    require(ParityMarks().decode(marked) == expected, "what is encoded is decoded");
    return 0;
}
