#pragma once

#include "endpoint.h"

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/xmlmessage.h>

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

namespace KoltaCli {

/// One connection to one server for the length of a command, used step by step: every waiting operation runs an
/// event loop until it is done or its time is over.
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(const Endpoint& endpoint, QObject* parent = nullptr);
    /// Closes the link and waits at most a second for it.
    ~Session() override;

    Kolta::KoltaConnection& connection() noexcept { return *m_connection; }

    /// Opens the link; false when it is not up after `timeoutMs`, see errorText().
    bool open(int timeoutMs);
    /// Sends a request and waits for its reply; null when none came in time or the link failed, see errorText().
    XmlCommon::ptrCXmlMessage request(const XmlCommon::ptrCXmlMessage& message, int timeoutMs);
    /// Runs the event loop until `done` returns true, the link has closed or the time is over; returns done().
    bool waitFor(const std::function<bool()>& done, int timeoutMs);

    bool isClosed() const noexcept { return m_closed; }
    /// Why the last operation failed.
    QString errorText() const;

private Q_SLOTS:
    void takeReply(XmlCommon::ptrCXmlMessage reply);

private:
    Endpoint m_endpoint;
    std::unique_ptr<Kolta::KoltaConnection> m_connection;
    XmlCommon::ptrCXmlMessage m_reply;
    QString m_socketError;
    QString m_failure;
    bool m_opened = false;
    bool m_closed = false;
};

/// A message of the given kind that holds one fragment.
XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment);

} // namespace KoltaCli
