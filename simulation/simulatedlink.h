#pragma once

#include <simulation/requesthandler.h>

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <deque>

namespace XmlCommunication {
class CServerLink;
}

namespace KoltaSimulation {

/// What leaves a server on one link, in order, whole or in pieces. Belongs to the link and dies with it.
class SimulatedLink : public QObject
{
    Q_OBJECT

public:
    explicit SimulatedLink(XmlCommunication::CServerLink& link);

    LinkSettings& settings() noexcept { return m_settings; }
    const LinkSettings& settings() const noexcept { return m_settings; }
    XmlCommunication::CServerLink& link() noexcept { return m_link; }
    const XmlCommunication::CServerLink& link() const noexcept { return m_link; }
    bool isDead() const noexcept { return m_dead; }

    void send(const XmlCommon::CXmlMessage& message);
    void sendBytes(const QByteArray& bytes);
    /// Sends the bytes in pieces, each on its own once the one before has left.
    void sendInPieces(const QByteArray& bytes, int pieceSize);
    /// Keeps the bytes, and all that come after them, for some milliseconds and sends them in one go.
    void sendMerged(const QByteArray& bytes, int milliseconds);
    /// Sends the first `count` of the bytes and closes the link.
    void cut(const QByteArray& bytes, int count);
    /// Ends the link with a reset.
    void reset();
    /// Nothing more is sent.
    void markDead() { m_dead = true; }

private:
    struct Pieces
    {
        QByteArray bytes;
        int pieceSize;
        int sent;
    };
    void pump();

    XmlCommunication::CServerLink& m_link;
    LinkSettings m_settings;
    std::deque<Pieces> m_pieces; ///< what waits behind bytes that are sent in pieces
    QByteArray m_merged;
    QTimer m_pieceTimer;
    QTimer m_mergeTimer;
    bool m_dead = false;
};

} // namespace KoltaSimulation
