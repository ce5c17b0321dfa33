#include "tools/virtual-reader/ReaderProtocol.h"

#include "reader/Frames.h"

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

using namespace Frames;

constexpr char Ack = 6;
constexpr char NoCardCode = 29;
constexpr char BlockCheckBit = 1 << 4;

QByteArray frameOf(const QByteArray &content)
{
    return Stx + content + Etx;
}

} // namespace

QList<ReaderProtocol::Reply> ReaderProtocol::receive(const QByteArray &bytes)
{
    m_received += bytes;
    QList<Reply> replies;
    while (const auto request = takeRequest())
        replies += replyTo(*request);
    return replies;
}

/// Removes the first complete request from the bytes received. Commands are recognised by their
/// length, as they may contain any byte; bytes before STX are noise.
std::optional<QByteArray> ReaderProtocol::takeRequest()
{
    m_received.remove(0, m_received.contains(Stx) ? m_received.indexOf(Stx) : m_received.size());
    qsizetype length = 0;
    if (m_received.size() > 2 && m_received[1] == Esc) {
        length = m_received[2] == 'S' ? 5 : 4;
    } else if (const qsizetype end = m_received.indexOf(Etx); end > 0) {
        length = end + 1 + (blockCheck ? 1 : 0);
    }
    if (length == 0 || m_received.size() < length)
        return {};
    QByteArray request = m_received.left(length);
    m_received.remove(0, length);
    return request;
}

ReaderProtocol::Reply ReaderProtocol::replyTo(const QByteArray &request)
{
    Reply reply;
    reply.request = request;
    reply.late = manner == Manner::Late;
    const QByteArray accepted = frameOf(QByteArray(1, Ack));
    const bool isAccepted = manner == Manner::Accept || manner == Manner::Late;

    if (request == buildDownloadCommand()) {
        reply.event = u"asked about itself"_s;
        reply.answer = answer(frameOf(Ack + QByteArrayLiteral("virtual reader, no hardware")));
    } else if (request[1] == Esc) {
        reply.event =
            u"line parameters %1"_s.arg(static_cast<uchar>(request[3]), 2, 16, QLatin1Char('0'));
        reply.answer = answer(accepted);
        if (isAccepted)
            blockCheck = (request[3] & BlockCheckBit) != 0;
    } else if (const QByteArray frame = blockCheck ? request.chopped(1) : request;
               blockCheck && Frames::blockCheck(frame) != request.back()) {
        reply.event = u"wrong block check"_s;
        reply.answer = manner == Manner::Never ? QByteArray() : frameOf(QByteArray(1, Nak));
    } else {
        reply.event = u"card %1"_s.arg(QString::fromLatin1(frame.mid(1).chopped(1)));
        reply.answer = answer(accepted);
        if (isAccepted)
            m_card = frame;
    }
    return reply;
}

/// Returns `accepted`, or what `manner` answers instead.
QByteArray ReaderProtocol::answer(const QByteArray &accepted) const
{
    switch (manner) {
    case Manner::Nak:
        return frameOf(QByteArray(1, Nak));
    case Manner::NoCard:
        return frameOf(QByteArray(1, NoCardCode));
    case Manner::OneByte:
        return accepted.left(1);
    case Manner::Never:
        return {};
    case Manner::Accept:
    case Manner::Late:
        break;
    }
    return accepted;
}

} // namespace Tavrel
