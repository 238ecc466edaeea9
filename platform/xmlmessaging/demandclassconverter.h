#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QString>
#include <QVector>

#include <optional>

namespace GLOBAL_TYPES {

/// Where a resource demand class comes from. Other numbers may occur and are carried unchanged.
enum eRESOURCE_DEMAND_CLASSES_TRAITS : int {
    eRESOURCE_DEMAND_CLASS_PREDEFINED = 0,
    eRESOURCE_DEMAND_CLASS_CUSTOM = 1 ///< made by the user
};

} // namespace GLOBAL_TYPES

namespace ResourceConverter {

/// Converts the query for a server's resource demand classes and its reply: what a job of each class of each
/// application takes. Component "ResourceDemandClasses". Whoever fills a reply must not put numbers into it
/// that are not finite.
class KOLTA_XMLMESSAGING_EXPORT CResourceDemandClasses
{
public:
    /// The kinds of application. Other numbers may occur and are carried unchanged; -1 stands for none.
    enum eCOMPONENTS : int { eDCP = 0, eFFP = 1, eDSC = 2, eFHA = 3, eFHP = 4 };

    /// Processing power that a job takes.
    struct CpuData
    {
        qint32 credits = 0;
        qint32 allocationMode = 0; ///< 0 is the default
    };

    /// One demand class; what is optional may be missing in a reply.
    struct ResourceDemandClass
    {
        QString name;
        std::optional<QString> info;
        std::optional<QString> displayInfo; ///< description for the user
        GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS traits =
            GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_PREDEFINED;
        bool hardwareProcessing = false;
        std::optional<CpuData> cpu;
        std::optional<double> ram;          ///< bytes
        std::optional<double> maxBandwidth; ///< Hz
    };

    /// One kind of application with its demand classes.
    class Application
    {
    public:
        Application() = default;
        Application(eCOMPONENTS component, const QVector<ResourceDemandClass>& classes)
            : m_component(component), m_classes(classes)
        {
        }

        eCOMPONENTS getComponent() const noexcept { return m_component; }
        const QVector<ResourceDemandClass>& getResourceDemandClasses() const noexcept { return m_classes; }

    private:
        eCOMPONENTS m_component = static_cast<eCOMPONENTS>(-1);
        QVector<ResourceDemandClass> m_classes;
    };

    /// The query's fragment.
    static XmlCommon::CMsgFragment makeFragment();
    /// Whether a request fragment is that query.
    static bool isQuery(const XmlCommon::CMsgFragment& fragment);
    /// Puts the answer into a reply fragment.
    static void fillReply(XmlCommon::CMsgFragment& fragment, const QVector<Application>& applications);

    /// Reads a reply's fragment.
    explicit CResourceDemandClasses(const XmlCommon::CMsgFragment& fragment);
    /// Whether the fragment holds demand classes.
    bool isCompatible() const noexcept { return m_compatible; }
    /// Whether the query failed: the fragment carries a fault or holds no demand classes.
    bool isFailure() const noexcept { return m_failure; }
    /// In the order of the reply; also those without classes. Empty after a failure.
    const QVector<Application>& getApplications() const noexcept { return m_applications; }

private:
    QVector<Application> m_applications;
    bool m_compatible = false;
    bool m_failure = true;
};

} // namespace ResourceConverter
