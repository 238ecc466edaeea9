#include <simulation/simulatedlink.h>

#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/server.h>

#include <utility>

namespace KoltaSimulation {

SimulatedLink::SimulatedLink(XmlCommunication::CServerLink& link) : QObject(&link), m_link(link)
{
    m_pieceTimer.setSingleShot(true);
    m_mergeTimer.setSingleShot(true);
    connect(&m_pieceTimer, &QTimer::timeout, this, &SimulatedLink::pump);
    connect(&m_mergeTimer, &QTimer::timeout, this,
            [this] { sendBytes(std::exchange(m_merged, QByteArray())); });
}

void SimulatedLink::send(const XmlCommon::CXmlMessage& message)
{
    if (m_dead)
        return;
    if (m_pieces.empty() && !m_mergeTimer.isActive()) {
        m_link.send(message);
        return;
    }
    QByteArray text;
    XmlCommon::MessageCodec::encode(message, text);
    QByteArray bytes;
    XmlCommunication::appendFrame(bytes, text);
    sendBytes(bytes);
}

void SimulatedLink::sendBytes(const QByteArray& bytes)
{
    if (m_dead)
        return;
    if (m_mergeTimer.isActive())
        m_merged.append(bytes);
    else if (!m_pieces.empty())
        m_pieces.push_back({bytes, bytes.size(), 0});
    else
        m_link.sendRaw(bytes);
}

void SimulatedLink::sendInPieces(const QByteArray& bytes, int pieceSize)
{
    if (m_mergeTimer.isActive()) {
        sendBytes(bytes);
        return;
    }
    m_pieces.push_back({bytes, qMax(1, pieceSize), 0});
    if (!m_pieceTimer.isActive())
        pump();
}

void SimulatedLink::sendMerged(const QByteArray& bytes, int milliseconds)
{
    if (!m_mergeTimer.isActive())
        m_mergeTimer.start(milliseconds);
    m_merged.append(bytes);
}

void SimulatedLink::cut(const QByteArray& bytes, int count)
{
    if (m_dead)
        return;
    m_link.sendRaw(bytes.left(count));
    m_dead = true;
    m_link.close();
}

void SimulatedLink::reset()
{
    if (m_dead)
        return;
    m_dead = true;
    m_link.abort();
}

void SimulatedLink::pump()
{
    if (m_dead || m_pieces.empty())
        return;
    // A piece that is handed over before the one before has left would travel together with it.
    if (m_link.bytesToWrite() == 0) {
        Pieces& front = m_pieces.front();
        m_link.sendRaw(front.bytes.mid(front.sent, front.pieceSize));
        front.sent += front.pieceSize;
        if (front.sent >= front.bytes.size())
            m_pieces.pop_front();
    }
    if (!m_pieces.empty())
        m_pieceTimer.start(m_link.bytesToWrite() == 0 ? 0 : 1);
}

} // namespace KoltaSimulation
