#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QString>
#include <QStringList>
#include <QVector>

namespace XmlCommunication {

/// What an application says of itself.
struct AppDescriptionData
{
    QString name;
    QString guid;
    QString version;
    QString build;
    QString interfaceVersion;
};

/// Converts the query for a peer's application description and its reply. Component "Application".
class KOLTA_XMLMESSAGING_EXPORT CAppDescription
{
public:
    /// The query's fragment.
    static XmlCommon::CMsgFragment makeFragment();
    /// Whether a request fragment is that query.
    static bool isQuery(const XmlCommon::CMsgFragment& fragment);
    /// Puts the answer into a reply fragment.
    static void fillReply(XmlCommon::CMsgFragment& fragment, const AppDescriptionData& data);

    /// Reads a reply's fragment.
    explicit CAppDescription(const XmlCommon::CMsgFragment& fragment);
    /// Whether the fragment holds an application description.
    bool isCompatible() const noexcept { return m_compatible; }
    const QString& getAppName() const noexcept { return m_data.name; }
    const QString& getAppGuid() const noexcept { return m_data.guid; }
    const QString& getVersion() const noexcept { return m_data.version; }
    const QString& getBuild() const noexcept { return m_data.build; }
    const QString& getInterface() const noexcept { return m_data.interfaceVersion; }

private:
    AppDescriptionData m_data;
    bool m_compatible = false;
};

/// Converts the command that tells the server how this client wants request trees handled: with suppression
/// the server leaves them out of its replies. Component "RequestTree".
class KOLTA_XMLMESSAGING_EXPORT CRequestTreeConverter
{
public:
    /// Over an existing request tree; an empty tree starts a new one.
    explicit CRequestTreeConverter(const XmlCommon::CRequestTree& tree = XmlCommon::CRequestTree());

    void setRequestTreeSuppression(bool suppress);
    /// False when the tree says nothing about it.
    bool getRequestTreeSuppression() const;
    /// Whether a request fragment is this command.
    static bool isCommand(const XmlCommon::CMsgFragment& fragment);
    XmlCommon::CMsgFragment makeFragment() const;

private:
    XmlCommon::CDataTree m_tree;
};

/// Converts the command that subscribes to a server's broadcasts. Component "EventFilter".
class KOLTA_XMLMESSAGING_EXPORT CEventFilterConverter
{
public:
    /// Fragment that asks for the broadcasts of `component`, "*" for all.
    static XmlCommon::CMsgFragment makeFragment(const QString& component);
    static bool isCommand(const XmlCommon::CMsgFragment& fragment);
    /// The components asked for; none when the fragment is not this command.
    static QStringList getComponents(const XmlCommon::CMsgFragment& fragment);
};

} // namespace XmlCommunication

namespace ResourceConverter {

/// One line of a fault reference.
struct FaultDescription
{
    quint32 id = 0;
    QString text;
};

/// Converts the query for a server's fault reference and its reply. Component "FaultReference".
class KOLTA_XMLMESSAGING_EXPORT CQueryFaultReference
{
public:
    static XmlCommon::CMsgFragment makeFragment();
    static bool isQuery(const XmlCommon::CMsgFragment& fragment);
    static void fillReply(XmlCommon::CMsgFragment& fragment, const QVector<FaultDescription>& faults);

    /// Reads a reply's fragment.
    explicit CQueryFaultReference(const XmlCommon::CMsgFragment& fragment);
    bool isCompatible() const noexcept { return m_compatible; }
    /// In the order of the reply; entries without a readable number are left out.
    const QVector<FaultDescription>& getFaults() const noexcept { return m_faults; }

private:
    QVector<FaultDescription> m_faults;
    bool m_compatible = false;
};

} // namespace ResourceConverter
