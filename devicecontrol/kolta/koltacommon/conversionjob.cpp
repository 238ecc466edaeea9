#include <koltacommon/conversionjob.h>

#include <QUuid>

namespace Kolta {

ConversionJob::ConversionJob(ConvertProductionResultMap& map, const ConvertProductionResultRequest& request,
                             QObject* parent)
    : MapOperation(map, parent), m_request(request)
{
    if (m_request.productionID.isEmpty())
        m_request.productionID = QUuid::createUuid().toString();
    setTimeLimit(kNoLimit);
}

void ConversionJob::ask(ConvertProductionResultMap& map)
{
    if (!m_request.record.valid())
        return refuse(Reason::InvalidOrder, tr("the recording has no identifier"));
    if (map.contains(m_request.record) && !map.At(m_request.record).finished())
        return refuse(Reason::Conflict, tr("%1 is being converted already").arg(m_request.record.toString()));
    setAsked();
    map.SetAt(m_request.record, ConvertProductionResult(m_request)); // observers may end this
}

void ConversionJob::look(const ConvertProductionResultMap& map)
{
    const QString record = m_request.record.toString();
    if (!map.contains(m_request.record))
        return settle(State::Lost, Effect::Unknown, Reason::Ended,
                      tr("the entry of %1 was erased").arg(record));
    const ConvertProductionResult& item = map.At(m_request.record);
    if (item.productionID() != m_request.productionID)
        return settle(State::Lost, Effect::Unknown, Reason::Ended,
                      tr("%1 is converted by somebody else").arg(record));
    m_result = item.result();
    if (item.sucessfullyFinished())
        settleDone();
    else if (item.finished())
        settle(State::Refused, Effect::None, Reason::RefusedByServer,
               m_result.isEmpty() ? tr("the conversion of %1 failed").arg(record) : m_result);
    else if (item.state() == ConvertProductionResult::eConverting)
        setProgress(m_result.isEmpty() ? tr("converting") : m_result);
}

} // namespace Kolta
