#include <koltacommon/koltaconnection.h>

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/faultreferencerequest.h>

#include <QStringList>

#include <iterator>
#include <mutex>

using XmlCommon::CMsgFragment;
using XmlCommon::ptrCXmlMessage;

namespace Kolta {

namespace {

/// The word for programs and the text for people of each number.
struct SocketErrorWords
{
    const char* word;
    const char* text;
};

constexpr SocketErrorWords kSocketErrors[] = {
    {"ConnectionRefused", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "connection refused")},
    {"RemoteHostClosed", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "closed by the other end")},
    {"HostNotFound", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "host not found")},
    {"SocketAccess", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "no permission for the socket")},
    {"SocketResource", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "too many sockets")},
    {"SocketTimeout", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "no answer in time")},
    {"DatagramTooLarge", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "message too large")},
    {"Network", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "network failed")},
    {"AddressInUse", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "address in use")},
    {"SocketAddressNotAvailable", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "address not available")},
    {"UnsupportedSocketOperation",
     QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "not supported by this system")},
    {"UnfinishedSocketOperation", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "operation not finished")},
    {"ProxyAuthenticationRequired",
     QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "the proxy asks for a login")},
    {"SslHandshakeFailed", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "TLS handshake failed")},
    {"ProxyConnectionRefused", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "refused by the proxy")},
    {"ProxyConnectionClosed", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "closed by the proxy")},
    {"ProxyConnectionTimeout", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "no answer of the proxy in time")},
    {"ProxyNotFound", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "proxy not found")},
    {"ProxyProtocol", QT_TRANSLATE_NOOP("Kolta::KoltaConnection", "the proxy's answer cannot be read")},
};

} // namespace

std::shared_ptr<FaultMessageHandler> KoltaConnection::m_pFaultMessageHandler;

void KoltaConnection::initMessageHandler(QObject* receiver, const char* slot)
{
    const std::shared_ptr<FaultMessageHandler> handler = getStaticFaultMessageHandler();
    const ptrKoltaRequest request(new FaultReferenceRequest(receiver, slot, name, handler));
    if (handler->Init(name))
        handleReply(request, ptrCXmlMessage(new XmlCommon::CXmlMessage));
    else
        executeRequest(request);
}

std::shared_ptr<FaultMessageHandler> KoltaConnection::getStaticFaultMessageHandler()
{
    static std::once_flag once;
    std::call_once(once, [] { m_pFaultMessageHandler = std::make_shared<FaultMessageHandler>(); });
    return m_pFaultMessageHandler;
}

QString KoltaConnection::getFaultText(const CMsgFragment& fragment)
{
    if (!fragment.hasFaultTree())
        return QString();
    return getStaticFaultMessageHandler()->ConvertFaultMessage(fragment.getFaultTree());
}

QString KoltaConnection::getFaultText(ptrCXmlMessage message)
{
    QStringList texts;
    for (int i = 0; message && i < message->getNumberOfFragments(); ++i) {
        const CMsgFragment& fragment = message->getFragment(i);
        if (fragment.hasFaultTree())
            texts.append(getFaultText(fragment));
    }
    return texts.isEmpty() ? QString() : texts.join(QLatin1Char('\n'));
}

bool KoltaConnection::hasFault(ptrCXmlMessage message)
{
    for (int i = 0; message && i < message->getNumberOfFragments(); ++i) {
        if (message->getFragment(i).hasFaultTree())
            return true;
    }
    return false;
}

QString KoltaConnection::getReplyProblem(ptrCXmlMessage reply)
{
    if (!reply || hasFault(reply))
        return getFaultText(reply);
    const QString missing = reply->missingReply();
    return missing.isNull() ? QString() : tr("The reply does not answer the component \"%1\"").arg(missing);
}

QString KoltaConnection::getShortInfo(ptrCXmlMessage message)
{
    QStringList lines;
    for (int i = 0; message && i < message->getNumberOfFragments(); ++i) {
        const CMsgFragment& fragment = message->getFragment(i);
        QString line = message->servicetypeToString();
        if (message->getMessageID() != 0)
            line += QStringLiteral(" ID: ") + QString::number(message->getMessageID());
        line += QLatin1Char(' ') + fragment.getComponentName();
        if (fragment.hasRequestTree())
            line += QStringLiteral(" <Request> ") +
                    fragment.getRequestTree().getDataTree().getRootTagname().toString();
        if (fragment.hasDataTree())
            line += QStringLiteral(" <Data> ") + fragment.getDataTree().getRootTagname().toString();
        if (fragment.hasFaultTree())
            line += QStringLiteral(" <Fault> ") + getFaultText(fragment);
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

QString KoltaConnection::getSocketError(QAbstractSocket::SocketError error)
{
    const int index = static_cast<int>(error);
    if (index < 0 || index >= static_cast<int>(std::size(kSocketErrors)))
        return QStringLiteral("Unknown");
    return QString::fromLatin1(kSocketErrors[index].word);
}

QString KoltaConnection::socketErrorText(const QString& word)
{
    for (const SocketErrorWords& error : kSocketErrors) {
        if (word == QLatin1String(error.word))
            return tr(error.text);
    }
    return word;
}

} // namespace Kolta
