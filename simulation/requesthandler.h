#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QSet>
#include <QString>
#include <QStringList>

namespace KoltaSimulation {

class CommandRights;
class Installation;
class ResourceState;

/// What a server counts; see also the query that makeStatisticsQuery() builds.
struct ServerStatistics
{
    quint64 links = 0;      ///< links accepted
    quint64 requests = 0;   ///< request messages that arrived
    quint64 replies = 0;    ///< replies that were sent in full, right or wrong
    quint64 broadcasts = 0; ///< broadcasts sent, counted per link
    quint64 faults = 0;     ///< faults in replies
    quint64 duplicates = 0; ///< requests whose ID had come before, on whichever link
    quint64 cuts = 0;       ///< links that the server ended, by order or by misbehaviour
    quint64 commands = 0;   ///< commands executed or refused, those that only concern their link left out
    quint64 repeats = 0;    ///< commands that came again and were answered without being executed again
};

/// What a client asked for on one link and what holds until the link ends.
struct LinkSettings
{
    QString user; ///< whom the client's certificate names
    bool suppressRequestTrees = false;
    QSet<QString> events; ///< components whose broadcasts the client wants; "*" for all
    bool wants(const QString& component) const
    {
        return events.contains(component) || events.contains(QStringLiteral("*"));
    }
};

/// Answers requests, fragment by fragment. What it cannot answer becomes a fault.
class RequestHandler
{
public:
    RequestHandler(const Installation& installation, const ResourceState& resources,
                   const ServerStatistics& statistics, const CommandRights& rights);

    /// The reply to `request`; `settings` are the ones of its link and may change.
    XmlCommon::CXmlMessage answer(const XmlCommon::CXmlMessage& request, LinkSettings& settings) const;

    /// Whether all that the message asks for is how its own link is treated.
    static bool concernsLinkOnly(const XmlCommon::CXmlMessage& request);

private:
    void answerFragment(const XmlCommon::CMsgFragment& request, bool command, XmlCommon::CMsgFragment& reply,
                        LinkSettings& settings) const;
    bool execute(const XmlCommon::CMsgFragment& request, XmlCommon::CMsgFragment& reply,
                 LinkSettings& settings) const;
    bool answerQuery(const XmlCommon::CMsgFragment& request, XmlCommon::CMsgFragment& reply) const;
    void answerResource(const XmlCommon::CDataTree& query, XmlCommon::CMsgFragment& reply) const;
    void answerStatistics(XmlCommon::CMsgFragment& reply) const;

    const Installation& m_installation;
    const ResourceState& m_resources;
    const ServerStatistics& m_statistics;
    const CommandRights& m_rights;
};

/// Fragment that asks for the record of one resource; the reply's data is the record. Component "Resources",
/// request `<Resource><GUID>…</GUID></Resource>`.
XmlCommon::CMsgFragment makeResourceQuery(const QString& guid);
/// Fragment that asks what the server has counted. Component "Statistics", request `<Statistics/>`; the
/// reply's data is `<Statistics>` with one element per member of ServerStatistics, named like it with a
/// capital.
XmlCommon::CMsgFragment makeStatisticsQuery();
/// Reads the reply to it; false when the fragment is none.
bool readStatistics(const XmlCommon::CMsgFragment& fragment, ServerStatistics& statistics);

} // namespace KoltaSimulation
