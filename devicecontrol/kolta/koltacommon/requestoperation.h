#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>
#include <koltacommon/operation.h>

#include <QPointer>

namespace Kolta {

class KoltaConnection;
class LinkKeeper;

/// One message to a server and its reply.
///
/// Done when the reply is there. Refused with Reason::Fault when it carries a fault, or does not answer a
/// component that was asked, which is not emitted as the connection's Fault then; reply() can be read all the
/// same. Refused with NotConnected when the
/// connection takes no requests; Lost when it was closed, deleted, or its link ended; TimedOut at the
/// keeper's limit of replies or at its own. What was never sent leaves Effect::None, everything else
/// Effect::Unknown.
///
/// Cancelling takes a request that was not sent out of the queue; one that was sent cannot be taken back, and
/// its reply finds nobody. The same happens at the time limit and when the operation is deleted.
///
/// Lives on the thread of its connection.
class KOLTA_COMMON_EXPORT RequestOperation : public Operation
{
    Q_OBJECT

public:
    /// `connection` need not be open yet. The operation shares `message`, into which the reply comes.
    RequestOperation(KoltaConnection& connection, const XmlCommon::ptrCXmlMessage& message, QObject* parent);
    /// The request is kept while the link is down.
    RequestOperation(LinkKeeper& keeper, const XmlCommon::ptrCXmlMessage& message, QObject* parent);
    ~RequestOperation() override;

    /// Tells a keeper that executing it twice does no harm: it is sent again when the link ended before the
    /// reply. Before it begins.
    void setRepeatable(bool on) { m_repeatable = on; }
    /// Null until it has come.
    const XmlCommon::ptrCXmlMessage& reply() const noexcept { return m_reply; }

protected:
    void begin() override;
    void cancelBegun() override { giveUp(); }
    void timeIsOver() override { giveUp(); }

private:
    class Shuttle;

    bool withdraw();
    void giveUp();
    void takeReply(const XmlCommon::ptrCXmlMessage& received);
    void takeAbandonment(Abandonment why, bool wasSent);

    QPointer<KoltaConnection> m_connection; ///< one of the two is null from the beginning
    QPointer<LinkKeeper> m_keeper;
    bool m_repeatable = false;
    XmlCommon::ptrCXmlMessage m_message;
    XmlCommon::ptrCXmlMessage m_reply;
    ptrKoltaRequest m_request; ///< null before it begins
};

} // namespace Kolta
