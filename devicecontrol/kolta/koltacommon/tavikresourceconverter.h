#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/resources.h>

#include <QObject>
#include <QString>

namespace Kolta {

/// Keeps a resource overview of its own and publishes it as XML in a string value of the value tree.
/// Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT TavikResourceConverter : public QObject
{
    Q_OBJECT

public:
    explicit TavikResourceConverter(QObject* parent = nullptr);
    ~TavikResourceConverter() override;

    /// Full path of the value to publish at. Nothing is published by this call.
    void SetOverViewVTPath(const QString& path);
    const QString& GetOverViewVTPath() const noexcept { return m_path; }

    /// Keeps `overview` and publishes it. False when there is no string value at the path, or when the
    /// overview cannot be written as XML (with a trace line); an overview that cannot be written is not kept.
    bool SetResourceOverview(const RESOURCEMANAGEMENT::ResourceOverview& overview);
    const RESOURCEMANAGEMENT::ResourceOverview& GetResourceOverview() const noexcept { return m_overview; }

private:
    QString m_path;
    RESOURCEMANAGEMENT::ResourceOverview m_overview;
};

} // namespace Kolta
