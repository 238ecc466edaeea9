#include <koltacommon/requestoperation.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/linkkeeper.h>

#include <utility>

namespace Kolta {

/// What travels through the queue and reports to the operation, if that is still there.
class RequestOperation::Shuttle : public KoltaRequest
{
public:
    Shuttle(RequestOperation* operation, XmlCommon::ptrCXmlMessage message)
        : m_operation(operation), m_message(std::move(message))
    {
    }
    XmlCommon::ptrCXmlMessage& getMessage() override { return m_message; }
    bool handleFault() override { return true; }
    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) override
    {
        if (m_operation)
            m_operation->takeReply(reply);
        return ptrKoltaRequest();
    }
    void abandoned(Abandonment why, bool wasSent) override
    {
        if (m_operation)
            m_operation->takeAbandonment(why, wasSent);
    }

private:
    QPointer<RequestOperation> m_operation;
    XmlCommon::ptrCXmlMessage m_message;
};

RequestOperation::RequestOperation(KoltaConnection& connection, const XmlCommon::ptrCXmlMessage& message,
                                   QObject* parent)
    : Operation(parent), m_connection(&connection), m_message(message)
{
}

RequestOperation::RequestOperation(LinkKeeper& keeper, const XmlCommon::ptrCXmlMessage& message,
                                   QObject* parent)
    : Operation(parent), m_keeper(&keeper), m_message(message)
{
}

RequestOperation::~RequestOperation()
{
    if (!isFinished())
        withdraw();
}

void RequestOperation::begin()
{
    if (!m_connection && !m_keeper)
        return settle(State::Lost, Effect::None, Reason::LinkClosed, tr("the connection was deleted"));
    if (!m_message || m_message->getNumberOfFragments() == 0)
        return refuse(Reason::InvalidOrder, tr("there is nothing to send"));
    m_request = ptrKoltaRequest(new Shuttle(this, m_message));
    setProgress(tr("waiting for the reply"));
    if (m_keeper)
        m_keeper->execute(m_request, LinkKeeper::WhileDown::Keep, m_repeatable);
    else
        m_connection->executeRequest(m_request);
}

bool RequestOperation::withdraw()
{
    if (!m_request)
        return false;
    if (m_keeper)
        return m_keeper->withdraw(m_request);
    return m_connection && m_connection->withdrawRequest(m_request);
}

void RequestOperation::giveUp()
{
    settleGivenUp(withdraw() ? Effect::None : Effect::Unknown, QString());
}

void RequestOperation::takeReply(const XmlCommon::ptrCXmlMessage& received)
{
    m_reply = received;
    const QString problem = KoltaConnection::getReplyProblem(received);
    if (problem.isNull())
        return settleDone();
    bool allFaulty = true;
    for (int i = 0; i < received->getNumberOfFragments(); ++i)
        allFaulty = allFaulty && received->getFragment(i).hasFaultTree();
    // What other fragments asked for may have been done.
    settle(State::Refused, allFaulty ? Effect::None : Effect::Unknown, Reason::Fault, problem);
}

void RequestOperation::takeAbandonment(Abandonment why, bool wasSent)
{
    const Effect effect = wasSent ? Effect::Unknown : Effect::None;
    switch (why) {
    case Abandonment::Refused:
        return settle(State::Refused, effect, Reason::NotConnected, tr("the connection takes no requests"));
    case Abandonment::Closed:
        return settle(State::Lost, effect, Reason::LinkClosed, tr("the connection was closed"));
    case Abandonment::LinkEnded:
        return settle(State::Lost, effect, Reason::LinkEnded, tr("the link to the server failed"));
    case Abandonment::TimeOver:
        return settle(State::TimedOut, effect, Reason::TimeLimit, tr("the server did not answer in time"));
    }
}

} // namespace Kolta
