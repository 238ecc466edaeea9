#include "requesttracker.h"

#include <koltacommon/koltaconnection.h>

#include <algorithm>
#include <numeric>

namespace KoltaCli {

RequestTracker::RequestTracker(Kolta::KoltaConnection& connection) : m_connection(connection) {}

int RequestTracker::submit(const XmlCommon::ptrCXmlMessage& message)
{
    const int number = m_entries.size();
    const Kolta::ptrKoltaRequest request(
        new Kolta::ParameterRequest(message, this, SLOT(take(Kolta::ptrKoltaRequest))));
    m_entries.append(Entry());
    m_requests.append(request);
    m_numbers.insert(request.data(), number);
    m_connection.executeRequest(request);
    return number;
}

int RequestTracker::replies() const
{
    return std::accumulate(m_entries.begin(), m_entries.end(), 0,
                           [](int sum, const Entry& entry) { return sum + entry.replies; });
}

int RequestTracker::faults() const
{
    return static_cast<int>(std::count_if(m_entries.begin(), m_entries.end(), [](const Entry& entry) {
        return entry.reply && Kolta::KoltaConnection::hasFault(entry.reply);
    }));
}

int RequestTracker::lost() const
{
    return static_cast<int>(std::count_if(m_entries.begin(), m_entries.end(),
                                          [](const Entry& entry) { return entry.replies == 0; }));
}

int RequestTracker::duplicated() const
{
    return replies() - (requests() - lost());
}

void RequestTracker::take(Kolta::ptrKoltaRequest request)
{
    const int number = m_numbers.value(request.data(), -1);
    if (number < 0)
        return;
    Entry& entry = m_entries[number];
    ++entry.replies;
    entry.reply = static_cast<Kolta::ParameterRequest*>(request.data())->getReply();
    m_inOrder = m_inOrder && number == m_lastAnswered + 1;
    m_lastAnswered = number;
    Q_EMIT answered(number);
}

} // namespace KoltaCli
