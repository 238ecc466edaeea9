#pragma once

#include <koltacommon/export.h>
#include <koltacommon/operation.h>
#include <koltacommon/serverdesk.h>

namespace Kolta {

class KoltaServerInterface;

/// What all operations on one server share: they begin only while it is connected, hear of it through its
/// desk, and end as Lost when its interface goes.
class KOLTA_COMMON_EXPORT ServerOperation : public Operation, protected ServerDesk::Client
{
    Q_OBJECT

protected:
    ServerOperation(KoltaServerInterface& server, QObject* parent);
    ~ServerOperation() override;

    /// The begin of a derived class, with the server there and connected.
    virtual void ask() = 0;
    /// From here on the server may do what is asked for.
    void setAsked() noexcept { m_asked = true; }
    bool wasAsked() const noexcept { return m_asked; }
    /// Null when its interface has gone.
    KoltaServerInterface* server() const;
    QString serverName() const;

    void begin() final;
    void cleanUp() override;
    void serverLost() override;
    void wishFailed(values::WishFailure failure, const QString& reason) override;
    /// What was changed on the server although the rest was refused.
    virtual Effect effectSoFar() const { return Effect::None; }

private:
    QPointer<KoltaServerInterface> m_server;
    bool m_asked = false;
};

} // namespace Kolta
