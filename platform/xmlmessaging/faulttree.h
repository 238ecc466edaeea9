#pragma once

#include <xmlmessaging/datatree.h>
#include <xmlmessaging/export.h>

#include <QStringList>

namespace XmlCommon {

namespace detail {
/// The addendum that was read last. To walk from the first one each time would let a server stall its client
/// with a fault of many addenda.
struct AddendumCursor
{
    CConstElement element;
    int index = 0;
};
} // namespace detail

/// A server's report of a failure: a number whose text stands in the fault reference, the time, further texts
/// ("addenda") and the fault that caused it.
///
///     <Fault id="1203" timestamp="1700000000000"><Addendum>Tuner 7</Addendum><Fault id="17"
///     timestamp="…"/></Fault>
class KOLTA_XMLMESSAGING_EXPORT CFaultTree
{
public:
    /// The empty fault tree: no fault.
    CFaultTree() noexcept = default;
    /// Reads `data` as a fault; it is valid when the root element is "Fault".
    explicit CFaultTree(CDataTree data) noexcept : m_data(std::move(data)) {}
    /// Builds a fault. `timestamp` in milliseconds since 1970-01-01 UTC.
    CFaultTree(quint32 faultID, quint64 timestamp, const QStringList& addenda = QStringList(),
               const CFaultTree& cause = CFaultTree());

    bool isEmpty() const noexcept { return m_data.isEmpty(); }
    bool isValid() const;
    /// False when the attribute is missing or not an unsigned 32-bit number.
    bool getFaultID(quint32& id) const;
    /// Milliseconds since 1970-01-01 UTC; 0 when missing or malformed.
    quint64 getTimestamp() const;
    int getNumberOfAddenda() const;
    /// False when there is no such addendum or it holds elements instead of text. Reading one after the other
    /// takes constant time for each.
    bool getAddendum(int index, QString& text) const;
    bool hasCausationDataTree() const;
    /// The causing fault's tree; empty when there is none.
    CDataTree getCausationDataTree() const;

    const CDataTree& getDataTree() const noexcept { return m_data; }

private:
    CDataTree m_data;
    mutable detail::AddendumCursor m_last;
};

} // namespace XmlCommon
