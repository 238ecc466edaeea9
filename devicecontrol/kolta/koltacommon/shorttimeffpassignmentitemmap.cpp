#include <koltacommon/shorttimeffpassignmentitemmap.h>

namespace Kolta {

void ShortTimeFFPAssignmentProtocol::AppendRequest(std::string& out, const Request& request)
{
    out += ShortTimeFFPAssignment_ItemFormat::toStandardString(request);
}

bool ShortTimeFFPAssignmentProtocol::ReadRequest(values::ByteReader& in, Request& request)
{
    quint32 size = 0;
    return in.PeekInteger(size) && size <= in.Remaining() - sizeof size &&
           ShortTimeFFPAssignment_ItemFormat::fromCharStream(in.Cursor(), request);
}

QUuid ShortTimeFFPAssignmentItemMap::RequestAssignmentChange(const ShortTimeFFPAssignment& assignment,
                                                             IObserver* observer)
{
    return RequestAssignmentChange(assignment, QUuid(), observer);
}

QUuid ShortTimeFFPAssignmentItemMap::RequestAssignmentChange(const ShortTimeFFPAssignment& assignment,
                                                             const QUuid& id, IObserver* observer)
{
    return OpenRequest(assignment, id, observer);
}

bool ShortTimeFFPAssignmentItemMap::ReplyAssignmentChange(const QUuid& id, const QString& error,
                                                          IObserver* observer)
{
    return Reply(id, error, observer);
}

} // namespace Kolta
