#include <koltacommon/startstopdatastreamrecording.h>

#include <algorithm>

using XmlCommon::CConstElement;
using XmlCommon::CDataTree;
using XmlCommon::CElement;
using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace Kolta {

namespace {

constexpr char kStartOperation[] = "StartRecording";
constexpr char kStopOperation[] = "StopRecording";

ptrCXmlMessage makeMessage(const StartStopDatastreamRecording::Content& content)
{
    const ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_COMMAND));
    CDataTree tree(QLatin1String(content.start ? kStartOperation : kStopOperation));
    CElement root = tree.editRoot();
    for (const RecordingControl::RecordingData& data : content.recordings) {
        const QString name = RecordingControl::dataStreamToString(data.stream);
        if (name.isEmpty())
            return message;
        CElement element = root.append("DataStream");
        element.setAttribute("name", name);
        element.setAttribute("producer", data.producer);
        if (!data.recordName.isEmpty())
            element.setAttribute("record", data.recordName);
    }
    CMsgFragment fragment(StartStopDatastreamRecording::componentName());
    fragment.setRequestTree(XmlCommon::CRequestTree(tree));
    if (!content.recordings.isEmpty())
        message->addFragment(fragment);
    return message;
}

/// Unlike stringToDataStream(): display names, in whatever language, and other letter case are for people,
/// not for messages.
eDataStream streamOfWireName(const QString& name)
{
    const QVector<eDataStream>& streams = RecordingControl::GetAllStreams();
    const auto found = std::find_if(streams.begin(), streams.end(), [&name](eDataStream stream) {
        return RecordingControl::dataStreamToString(stream) == name;
    });
    return found == streams.end() ? eNoDataStream : *found;
}

CConstElement operationOf(const CMsgFragment& fragment)
{
    return fragment.getRequestTree().getDataTree().root();
}

} // namespace

StartStopDatastreamRecording::StartStopDatastreamRecording(const Content& content, QObject* notifiedObject,
                                                           const char* slot)
    : ParameterRequest(makeMessage(content), notifiedObject, slot)
{
}

QString StartStopDatastreamRecording::componentName()
{
    return QStringLiteral("Recording");
}

bool StartStopDatastreamRecording::isCommand(const CMsgFragment& fragment)
{
    const CConstElement operation = operationOf(fragment);
    return fragment.getComponentName() == componentName() &&
           (operation.hasName(kStartOperation) || operation.hasName(kStopOperation));
}

std::optional<StartStopDatastreamRecording::Content>
StartStopDatastreamRecording::read(const CMsgFragment& fragment)
{
    if (!isCommand(fragment))
        return std::nullopt;
    const CConstElement operation = operationOf(fragment);
    Content content;
    content.start = operation.hasName(kStartOperation);
    for (CConstElement entry = operation.child("DataStream"); entry; entry = entry.next("DataStream")) {
        const eDataStream stream = streamOfWireName(entry.attribute("name"));
        if (stream == eNoDataStream)
            return std::nullopt;
        content.recordings.append({stream, entry.attribute("producer"), entry.attribute("record")});
    }
    return content.recordings.isEmpty() ? std::nullopt : std::optional<Content>(content);
}

} // namespace Kolta
