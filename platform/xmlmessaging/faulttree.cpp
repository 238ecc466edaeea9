#include "faulttree.h"

#include <limits>

namespace XmlCommon {

CFaultTree::CFaultTree(quint32 faultID, quint64 timestamp, const QStringList& addenda,
                       const CFaultTree& cause)
    : m_data(CTagname(QLatin1String("Fault")))
{
    CElement root = m_data.editRoot();
    root.setAttribute("id", quint64(faultID));
    root.setAttribute("timestamp", timestamp);
    for (const QString& addendum : addenda)
        root.append("Addendum", addendum);
    if (cause.isValid())
        root.append(cause.getDataTree());
}

bool CFaultTree::isValid() const
{
    return m_data.root().hasName("Fault");
}

bool CFaultTree::getFaultID(quint32& id) const
{
    bool ok = false;
    const quint64 value = isValid() ? m_data.root().attributeToUInt("id", &ok) : 0;
    if (!ok || value > std::numeric_limits<quint32>::max())
        return false;
    id = static_cast<quint32>(value);
    return true;
}

quint64 CFaultTree::getTimestamp() const
{
    return isValid() ? m_data.root().attributeToUInt("timestamp") : 0;
}

int CFaultTree::getNumberOfAddenda() const
{
    int count = 0;
    for (CConstElement item = m_data.root().child("Addendum"); item; item = item.next("Addendum"))
        ++count;
    return count;
}

bool CFaultTree::getAddendum(int index, QString& text) const
{
    if (isEmpty() || index < 0)
        return false;
    if (!m_last.element || index < m_last.index)
        m_last = {m_data.root().child("Addendum"), 0};
    for (; m_last.element && m_last.index < index; ++m_last.index)
        m_last.element = m_last.element.next("Addendum");
    if (!m_last.element || m_last.element.child())
        return false;
    text = m_last.element.text();
    return true;
}

bool CFaultTree::hasCausationDataTree() const
{
    return !m_data.root().child("Fault").isNull();
}

CDataTree CFaultTree::getCausationDataTree() const
{
    return m_data.part(m_data.root().child("Fault"));
}

} // namespace XmlCommon
