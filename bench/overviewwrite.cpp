#include "figure.h"

#include <resourcemodel/resources.h>
#include <simulation/resourcegenerator.h>

#include <benchmark/benchmark.h>

#include <QXmlStreamWriter>

#include <memory>

namespace Bench {

namespace {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::TavikResource;
using RESOURCEMANAGEMENT::Tuner;

/// The overview's text as one would write it by hand, for the fields that the sample overview sets.
class HandWriter
{
public:
    QString write(const ResourceOverview& overview)
    {
        begin("ResourceOverview");
        number("NumberOfTuners", overview.GetNumberOfTuners());
        for (const Tuner& tuner : overview.GetTuner())
            writeTuner(tuner);
        for (const ProcessingUnit& unit : overview.GetProcessingUnit()) {
            begin("ProcessingUnit");
            writeIdentity(unit.GetTavikResource());
            number("Registration", unit.GetRegistration());
            number("LocalStorage", unit.GetLocalStorage());
            end();
        }
        for (const StorageUnit& unit : overview.GetStorageUnit()) {
            begin("StorageUnit");
            writeIdentity(unit.GetTavikResource());
            number("Registration", unit.GetRegistration());
            whole("Capacity", unit.GetCapacity());
            whole("FreeCapacity", unit.GetFreeCapacity());
            end();
        }
        end();
        return m_text;
    }

private:
    void begin(const char* name) { m_writer.writeStartElement(QLatin1String(name)); }
    void end() { m_writer.writeEndElement(); }
    void text(const char* name, const QString& value)
    {
        m_writer.writeTextElement(QLatin1String(name), value);
    }
    void number(const char* name, int value) { text(name, QString::number(value)); }
    void whole(const char* name, double value) { text(name, QString::number(static_cast<qint64>(value))); }
    void truth(const char* name, bool value)
    {
        text(name, value ? QStringLiteral("true") : QStringLiteral("false"));
    }

    void writeIdentity(const TavikResource& resource)
    {
        begin("TavikResource");
        text("GUID", resource.GetGUID());
        text("Name", resource.GetName());
        text("DisplayName", resource.GetDisplayName());
        text("Address", resource.GetAddress());
        number("ResourceID", resource.GetResourceID());
        end();
    }

    void writeTuner(const Tuner& tuner)
    {
        begin("Tuner");
        writeIdentity(tuner.GetTavikResource());
        text("Type", tuner.GetType());
        text("SerialNumber", tuner.GetSerialNumber());
        truth("Accessible", tuner.GetAccessible());
        truth("Idle", tuner.GetIdle());
        text("Options", tuner.GetOptions());
        whole("MinFrequency", tuner.GetMinFrequency());
        whole("MaxFrequency", tuner.GetMaxFrequency());
        whole("MaxSWBandwidth", tuner.GetMaxSWBandwidth());
        if (tuner.IsMaxHWBandwidthSet())
            whole("MaxHWBandwidth", tuner.GetMaxHWBandwidth());
        truth("SupportsHardwareProcessing", tuner.GetSupportsHardwareProcessing());
        truth("SupportsPScan", tuner.GetSupportsPScan());
        text("Configuration", tuner.GetConfiguration());
        end();
    }

    QString m_text;
    QXmlStreamWriter m_writer{&m_text};
};

Sides overviewWrite()
{
    const auto overview = std::make_shared<const ResourceOverview>(KoltaSimulation::makeResources(10000, 1));
    require(overview->GetXmlString() == HandWriter().write(*overview), "the hand-written text differs");
    const auto library = [overview] { benchmark::DoNotOptimize(overview->GetXmlString()); };
    const auto byHand = [overview] { benchmark::DoNotOptimize(HandWriter().write(*overview)); };
    return {timed(library), timed(byHand)};
}

const bool added =
    addFigure({"overview_write_10k_vs_stream_writer",
               "hand-coded QXmlStreamWriter loop that writes the same text", 0.5, Unit::Time, overviewWrite});

} // namespace

} // namespace Bench
