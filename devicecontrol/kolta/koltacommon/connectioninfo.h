#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QStringList>

#include <memory>

class QUuid;

namespace Kolta {

/// What the running drivers of one server tell about themselves: below one node of the value tree lies a
/// child per driver, with values like "Kolta_GUID" and "Processor_Type". The one place that finds such a
/// child.
///
/// Any living value counts by its text, whatever its type; one that is missing or deleted reads as empty.
/// GUIDs are compared as such, so letter case and missing braces do not matter. Of several children that fit,
/// the first in the order of the tree is taken. Look-ups take no scan: the first one makes an index,
/// which from then on follows the tree. Lives on the tree's thread.
class KOLTA_COMMON_EXPORT ConnectionInfo
{
public:
    ConnectionInfo();
    ~ConnectionInfo();

    /// Path of the node above the children, which need not exist.
    void setPath(const QString& path);

    /// Path of the child of the processor `guid`; empty when there is none or `guid` is null.
    QString childOfProcessor(const QUuid& guid) const;
    /// Path of the MCP's child with that task ID; empty when there is none or `taskId` is empty.
    QString mcpChildOfTask(const QString& taskId) const;
    /// Paths of the children of all MCPs, in the order of the tree.
    QStringList mcpChildren() const;
    /// Text of the value `name` of a child; empty when there is none, or `child` is empty.
    static QString text(const QString& child, const QString& name);

private:
    class Index;
    const Index& index() const;

    QString m_path;
    mutable std::unique_ptr<Index> m_index; ///< null until the first look-up
};

} // namespace Kolta
