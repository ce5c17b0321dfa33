#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace Tavrel
{

/// The reader's side of the protocol: receives cards to write and commands, answers them, and keeps
/// the card written last.
class ReaderProtocol
{
public:
    /// How requests are answered. A Late answer arrives after SetBaudRate_BCC has given up, while
    /// DownloadCommand still waits but no longer accepts it.
    enum class Manner { Accept, Nak, NoCard, OneByte, Late, Never };

    struct Reply {
        QByteArray request; ///< the complete frame that is answered
        QByteArray answer;  ///< empty for none
        bool late = false;
        QString event; ///< describes the request
    };

    /// Whether frames to write carry a block check byte; a wrong one is answered with NAK. The
    /// parameter command changes it.
    bool blockCheck = false;
    Manner manner = Manner::Accept;

    /// Takes bytes from the line, in pieces of any size, and replies to each request completed.
    QList<Reply> receive(const QByteArray &bytes);

    /// The frame that a swipe of the card written last sends; without tracks if none was written.
    QByteArray card() const { return m_card; }

private:
    std::optional<QByteArray> takeRequest();
    Reply replyTo(const QByteArray &request);
    QByteArray answer(const QByteArray &accepted) const;

    QByteArray m_received;
    QByteArray m_card = "\2\3";
};

} // namespace Tavrel
