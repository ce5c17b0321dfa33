#include "tools/sitetool/JetText.h"

#include "tools/sitetool/NotDone.h"

#include <QtEndian>

namespace
{

[[noreturn]] void failToDecode()
{
    throw NotDone{QStringLiteral("Its bytes are no text.")};
}

/// A text that begins with this mark is packed: runs of one byte a character, and runs of UTF-16,
/// with a zero byte where one kind gives way to the other. The first run has one byte a character.
constexpr char PackedMark[] = "\xFF\xFE";
constexpr qsizetype PackedMarkSize = 2;

QString fromUtf16(QByteArrayView bytes)
{
    QString text;
    const bool isPacked = bytes.startsWith(PackedMark);
    bool isWide = !isPacked;
    for (qsizetype at = isPacked ? PackedMarkSize : 0; at < bytes.size();) {
        if (isPacked && bytes[at] == 0) {
            isWide = !isWide;
            ++at;
        } else if (!isWide) {
            text += QLatin1Char(bytes[at++]);
        } else {
            // In a packed text a zero in second place would be a mark to some and a part to others.
            if (at + 1 == bytes.size() || (isPacked && bytes[at + 1] == 0))
                failToDecode();
            text += QChar(qFromLittleEndian<quint16>(bytes.data() + at));
            at += 2;
        }
    }
    if (!text.isValidUtf16())
        failToDecode();
    return text;
}

} // namespace

JetText::JetText(int codePage)
{
    if (codePage == 0)
        return;
    m_codePage = iconv_open("UTF-16LE", QByteArray("CP" + QByteArray::number(codePage)));
    // The way in which the call fails is the system's own: iconv_t(-1).
    if (reinterpret_cast<qintptr>(m_codePage) == -1)
        throw NotDone{QStringLiteral("Its texts are in code page %1, which is not known here.")
                          .arg(codePage)};
}

JetText::~JetText()
{
    if (m_codePage)
        iconv_close(m_codePage);
}

QString JetText::decode(QByteArrayView bytes) const
{
    return m_codePage ? fromCodePage(bytes) : fromUtf16(bytes);
}

QString JetText::fromCodePage(QByteArrayView bytes) const
{
    QString text(bytes.size(), Qt::Uninitialized); // no code page needs more
    char *from = const_cast<char *>(bytes.data()); // read only, whatever the declaration says
    auto *to = reinterpret_cast<char *>(text.data());
    auto fromLeft = static_cast<std::size_t>(bytes.size());
    std::size_t toLeft = fromLeft * sizeof(QChar);
    if (iconv(m_codePage, &from, &fromLeft, &to, &toLeft) != 0 || fromLeft != 0)
        failToDecode();
    text.chop(static_cast<qsizetype>(toLeft / sizeof(QChar)));
    return text;
}
