#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>

#include <memory>

namespace Kolta {

class FaultMessageHandler;

/// Asks a server for its fault reference, gives it to the handler, then calls the receiver's slot as a
/// ParameterRequest does, whether or not the reply held a reference. An empty reply only calls the slot.
class KOLTA_COMMON_EXPORT FaultReferenceRequest : public ParameterRequest
{
public:
    FaultReferenceRequest(QObject* notifiedObject, const char* slot, const QString& nameOfReceiver,
                          const std::shared_ptr<FaultMessageHandler>& faultMessageHandler);

    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage received) override;
    /// The name given at construction.
    QString getReceiver() override;

private:
    QString receiverName;
    std::shared_ptr<FaultMessageHandler> handler;
};

} // namespace Kolta
