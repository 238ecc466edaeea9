#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>
#include <koltacommon/recordingcontrol.h>

#include <QVector>

#include <optional>

namespace Kolta {

/// Asks a server to start or to stop recording data streams, then calls the receiver's slot as a
/// ParameterRequest does. The reply has no data; a refusal is a fault.
class KOLTA_COMMON_EXPORT StartStopDatastreamRecording : public ParameterRequest
{
public:
    /// What the message says.
    struct Content
    {
        bool start = false;
        QVector<RecordingControl::RecordingData> recordings;
    };

    /// When an entry does not name exactly one stream, or there is no entry, the message stays without
    /// fragment, so that it is never sent.
    StartStopDatastreamRecording(const Content& content, QObject* notifiedObject, const char* slot);

    /// The component that the message concerns.
    static QString componentName();
    /// Whether a request fragment is this command, readable or not.
    static bool isCommand(const XmlCommon::CMsgFragment& fragment);
    /// Reads such a fragment; nothing when it is another one, names no stream, or one that does not exist.
    static std::optional<Content> read(const XmlCommon::CMsgFragment& fragment);
};

} // namespace Kolta
