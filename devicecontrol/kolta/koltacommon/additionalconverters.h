#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/demandclasses.h>
#include <xmlmessaging/demandclassconverter.h>

#include <QObject>
#include <QString>
#include <QVector>

namespace Kolta {

/// Turns a server's answer to the query for its resource demand classes into the overview of the resource
/// model, keeps it and answers look-ups on it. Application types are texts here: "DCP", "FFP", "DSC", "FHA"
/// and "FHP". Lives on one thread; nothing throws.
class KOLTA_COMMON_EXPORT AdditionalConverters : public QObject
{
    Q_OBJECT

public:
    explicit AdditionalConverters(QObject* parent = nullptr);
    ~AdditionalConverters() override;

    /// Converts `text` to `component` when the text is not empty, else `component` to `text`. False, with a
    /// trace line and both unchanged, when it is not known.
    static bool ConvertComponent(ResourceConverter::CResourceDemandClasses::eCOMPONENTS& component,
                                 QString& text);
    /// The same for traits and the texts "predefined" and "custom".
    static bool ConvertClassTraits(GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS& traits, QString& text);

    /// The overview that the last answer gave; empty before.
    const RESOURCEMANAGEMENT::ResourceDemandClassOverview& GetDemandClasses() const noexcept
    {
        return m_demandClasses;
    }
    /// The classes with exactly that application type, in the order of the overview.
    QVector<RESOURCEMANAGEMENT::ResourceDemandClass> GetDemandClassesForAppType(const QString& appType) const;
    /// The first class of that type and name; null when there is none. Good until the next answer.
    const RESOURCEMANAGEMENT::ResourceDemandClass* GetDemandClassByName(const QString& appType,
                                                                        const QString& name) const;
    int GetDemandClassCount(const QString& appType) const;
    /// The overview as XML text; empty, with a trace line, when XML cannot carry it.
    QString GetDemandClassString() const;

    /// Full path of the demand classes in the value tree. Nothing is published by this call.
    void SetDemandClassVTPath(const QString& path) { m_demandClassVTPath = path; }
    const QString& GetDemandClassVTPath() const noexcept { return m_demandClassVTPath; }

public Q_SLOTS:
    /// Replaces the overview by what an answer says and emits si_DemandClassesChanged(). An answer that
    /// reports failure, or none (null), changes nothing.
    ///
    /// A class without a name becomes "Unnamed_class_1" and so on, counted within the answer. A predefined
    /// class without hardware processing and bandwidth gets one if it is named "sw" (10 MHz) or "sw_5MHz"
    /// (5 MHz). An invalid class, for instance one of an unknown application, is left out with a trace line.
    void sl_SetQueryResourceDemandClasses(ResourceConverter::CResourceDemandClasses* answer);

Q_SIGNALS:
    void si_DemandClassesChanged();

private:
    RESOURCEMANAGEMENT::ResourceDemandClassOverview m_demandClasses;
    QString m_demandClassVTPath;
};

} // namespace Kolta
