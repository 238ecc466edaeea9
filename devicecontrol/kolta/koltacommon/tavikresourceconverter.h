#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/resources.h>

#include <QObject>
#include <QString>

#include <memory>

namespace Kolta {

/// Keeps a resource overview of its own and publishes it as XML in a string value of the value tree. Where
/// another process has changed that value at the same moment, that change and what differs between the
/// overview and the value's text are both in it in the end; the converter's own overview stays.
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
    class Writer;

    QString m_path;
    std::unique_ptr<Writer> m_writer;
    RESOURCEMANAGEMENT::ResourceOverview m_overview;
};

} // namespace Kolta
