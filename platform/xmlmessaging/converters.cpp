#include "converters.h"

#include "converterparts.h"

#include <limits>

using XmlCommon::asksFor;
using XmlCommon::CConstElement;
using XmlCommon::CDataTree;
using XmlCommon::CElement;
using XmlCommon::CMsgFragment;
using XmlCommon::requestFragment;
using XmlCommon::requestRoot;

namespace XmlCommunication {

CMsgFragment CAppDescription::makeFragment()
{
    return requestFragment("Application", CDataTree(QLatin1String("GetDescription")));
}

bool CAppDescription::isQuery(const CMsgFragment& fragment)
{
    return asksFor(fragment, "Application", "GetDescription");
}

void CAppDescription::fillReply(CMsgFragment& fragment, const AppDescriptionData& data)
{
    CDataTree tree(QLatin1String("Description"));
    CElement root = tree.editRoot();
    root.append("Name", data.name);
    root.append("Guid", data.guid);
    root.append("Version", data.version);
    root.append("Build", data.build);
    root.append("Interface", data.interfaceVersion);
    fragment.setDataTree(tree);
}

CAppDescription::CAppDescription(const CMsgFragment& fragment)
{
    const CConstElement root = fragment.getDataTree().root();
    m_compatible = fragment.getComponentName() == QLatin1String("Application") && root.hasName("Description");
    if (!m_compatible)
        return;
    m_data.name = root.childText("Name");
    m_data.guid = root.childText("Guid");
    m_data.version = root.childText("Version");
    m_data.build = root.childText("Build");
    m_data.interfaceVersion = root.childText("Interface");
}

CRequestTreeConverter::CRequestTreeConverter(const XmlCommon::CRequestTree& tree)
    : m_tree(tree.isEmpty() ? CDataTree(QLatin1String("SetSuppression")) : tree.getDataTree())
{
}

void CRequestTreeConverter::setRequestTreeSuppression(bool suppress)
{
    m_tree.editRoot().setText(suppress ? QStringLiteral("true") : QStringLiteral("false"));
}

bool CRequestTreeConverter::getRequestTreeSuppression() const
{
    return m_tree.root().hasName("SetSuppression") && m_tree.root().text() == QLatin1String("true");
}

bool CRequestTreeConverter::isCommand(const CMsgFragment& fragment)
{
    return asksFor(fragment, "RequestTree", "SetSuppression");
}

CMsgFragment CRequestTreeConverter::makeFragment() const
{
    return requestFragment("RequestTree", m_tree);
}

CMsgFragment CEventFilterConverter::makeFragment(const QString& component)
{
    CDataTree tree(QLatin1String("Subscribe"));
    tree.editRoot().append("Component", component);
    return requestFragment("EventFilter", tree);
}

bool CEventFilterConverter::isCommand(const CMsgFragment& fragment)
{
    return asksFor(fragment, "EventFilter", "Subscribe");
}

QStringList CEventFilterConverter::getComponents(const CMsgFragment& fragment)
{
    QStringList components;
    if (!isCommand(fragment))
        return components;
    const CConstElement root = requestRoot(fragment);
    for (CConstElement entry = root.child("Component"); entry; entry = entry.next("Component"))
        components.append(entry.text());
    return components;
}

} // namespace XmlCommunication

namespace ResourceConverter {

CMsgFragment CQueryFaultReference::makeFragment()
{
    return requestFragment("FaultReference", CDataTree(QLatin1String("GetFaults")));
}

bool CQueryFaultReference::isQuery(const CMsgFragment& fragment)
{
    return asksFor(fragment, "FaultReference", "GetFaults");
}

void CQueryFaultReference::fillReply(CMsgFragment& fragment, const QVector<FaultDescription>& faults)
{
    CDataTree tree(QLatin1String("Faults"));
    CElement root = tree.editRoot();
    for (const FaultDescription& fault : faults)
        root.append("FaultText", fault.text).setAttribute("id", quint64(fault.id));
    fragment.setDataTree(tree);
}

CQueryFaultReference::CQueryFaultReference(const CMsgFragment& fragment)
{
    const CConstElement root = fragment.getDataTree().root();
    m_compatible = fragment.getComponentName() == QLatin1String("FaultReference") && root.hasName("Faults");
    if (!m_compatible)
        return;
    for (CConstElement entry = root.child("FaultText"); entry; entry = entry.next("FaultText")) {
        bool ok = false;
        const quint64 id = entry.attributeToUInt("id", &ok);
        if (ok && id <= std::numeric_limits<quint32>::max())
            m_faults.append(FaultDescription{static_cast<quint32>(id), entry.text()});
    }
}

} // namespace ResourceConverter
