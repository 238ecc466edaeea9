#pragma once

#include <koltacommon/linkfigures.h>

#include <xmlmessaging/xmlmessage.h>

#include <QObject>

#include <functional>

namespace Kolta {

/// Keeps the figures of one link and lists it in KoltaConnectionsViewer. A connection has one of its own, or
/// that of its keeper. Lives on the link's thread.
class LinkAccount : public QObject
{
    Q_OBJECT

public:
    using State = LinkFigures::State;
    using Filler = std::function<void(LinkFigures&)>;

    LinkAccount(const QString& name, const QString& host, quint16 port);
    ~LinkAccount() override;

    LinkFigures figures() const;
    /// Whoever knows what is asked for only when somebody looks: the connection, and its keeper. Null takes
    /// it away.
    void setConnection(Filler filler) { m_connection = std::move(filler); }
    void setKeeper(Filler filler) { m_keeper = std::move(filler); }
    bool hasKeeper() const { return m_keeper != nullptr; }

    // Receivers of what these tell may delete anything.
    void setState(State state);
    void fail(const QString& fault);
    void noteSent(const XmlCommon::ptrCXmlMessage& message);
    void noteReceived(const XmlCommon::ptrCXmlMessage& message);
    void noteAnswer();
    void addBytes(quint64 out, quint64 in);

Q_SIGNALS:
    /// `sent` or received, as it is on this link; not to be changed.
    void passed(bool sent, const XmlCommon::ptrCXmlMessage& message);

private:
    LinkFigures m_figures;
    Filler m_connection;
    Filler m_keeper;
    bool m_wasUp = false;
    qint64 m_sentAt = -1; ///< by the clock
};

} // namespace Kolta
