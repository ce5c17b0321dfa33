#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace Tavrel
{

/// The reader's side of the protocol: takes written cards and commands and answers them, and has
/// one card at hand, which is the one that was written last.
class ReaderProtocol
{
public:
    /// How requests are answered. Late comes when SetBaudRate_BCC has given up and DownloadCommand
    /// no longer takes an answer.
    enum class Manner { Accept, Nak, NoCard, OneByte, Late, Never };

    struct Reply {
        QByteArray request; ///< the whole frame that is replied to
        QByteArray answer;  ///< empty for none
        bool late = false;
        QString event; ///< what was asked for, in words
    };

    /// Whether written frames carry a block check byte; one that is wrong is answered with NAK.
    /// The parameter command changes it.
    bool blockCheck = false;
    Manner manner = Manner::Accept;

    /// Takes bytes from the line, cut anywhere, and replies to each request that they end.
    QList<Reply> receive(const QByteArray &bytes);

    /// The frame that swiping the card at hand sends; one without tracks until one was written.
    QByteArray card() const { return m_card; }

private:
    std::optional<QByteArray> takeRequest();
    Reply replyTo(const QByteArray &request);
    QByteArray answer(const QByteArray &accepted) const;

    QByteArray m_received;
    QByteArray m_card = "\2\3";
};

} // namespace Tavrel
