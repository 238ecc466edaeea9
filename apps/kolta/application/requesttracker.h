#pragma once

#include <koltacommon/generalrequests.h>

#include <QHash>
#include <QObject>
#include <QVector>

namespace Kolta {
class KoltaConnection;
}

namespace KoltaCli {

/// Sends requests and keeps the books: each must be answered exactly once, in the order in which they were
/// sent.
class RequestTracker : public QObject
{
    Q_OBJECT

public:
    explicit RequestTracker(Kolta::KoltaConnection& connection);

    /// Executes a request around `message`; returns its number, counted from 0.
    int submit(const XmlCommon::ptrCXmlMessage& message);
    /// The reply to a request; null until it has come.
    XmlCommon::ptrCXmlMessage reply(int number) const { return m_entries.at(number).reply; }

    /// How many replies a request has got.
    int replies(int number) const { return m_entries.at(number).replies; }

    int requests() const { return m_entries.size(); }
    int replies() const;
    int faults() const;
    /// Requests without a reply.
    int lost() const;
    /// Replies beyond the first of a request.
    int duplicated() const;
    bool inOrder() const noexcept { return m_inOrder; }
    bool allAnswered() const { return lost() == 0; }

Q_SIGNALS:
    void answered(int number);

private Q_SLOTS:
    void take(Kolta::ptrKoltaRequest request);

private:
    struct Entry
    {
        XmlCommon::ptrCXmlMessage reply;
        int replies = 0;
    };
    Kolta::KoltaConnection& m_connection;
    QVector<Entry> m_entries;
    QHash<const Kolta::KoltaRequest*, int> m_numbers;
    QVector<Kolta::ptrKoltaRequest> m_requests; ///< kept, so that no two requests share an address
    int m_lastAnswered = -1;
    bool m_inOrder = true;
};

} // namespace KoltaCli
