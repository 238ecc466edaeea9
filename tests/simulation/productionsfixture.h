#pragma once

#include "productionwatch.h"

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/tavikxmlhelpers.h>
#include <resourcemodel/hwprocessing.h>
#include <simulation/simulatedserver.h>
#include <support/simulated.h>
#include <support/test.h>

#include <QSet>

#include <memory>

/// A simulated server, a client's production control, and what both show in the value tree.
class ProductionsFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<KoltaSimulation::SimulatedServer>(m_installation);
        m_server->publish();
        m_control = std::make_unique<Kolta::KoltaProductionControl>();
        m_control->init(m_installation.basePath() + QStringLiteral("/ADMINISTRATION"));
        m_watch = std::make_unique<Watch>(base());
    }
    void cleanup()
    {
        m_watch.reset();
        m_control.reset();
        m_server.reset();
        QVERIFY(!values::Tree::Instance().Find(m_installation.basePath()));
    }

protected:
    ProductionsFixture();

    /// What the request of that production is answered with when it is accepted.
    static QString accepted(const QUuid& id) { return id.toString() + QStringLiteral("@1@"); }
    QString base() const { return m_server->nodePath(QString()); }
    QString text(const char* name) const;
    template<class Overview>
    Overview read(const char* name) const
    {
        Overview overview;
        overview.SetXmlString(text(name), true);
        return overview;
    }
    RESOURCEMANAGEMENT::ProcessorOverview running() const
    {
        return read<RESOURCEMANAGEMENT::ProcessorOverview>("ActualConfiguration");
    }
    QSet<QString> hardwareEntries() const
    {
        return Kolta::TavikXmlHelpers::ALL_GUIDS_OF(
            read<RESOURCEMANAGEMENT::HWProcessingOverview>("HardwareProcessing"));
    }
    QStringList children(const char* name) const;
    void write(const char* name, const QString& text)
    {
        QVERIFY(values::WriteOrAnnounce(base() + QLatin1String(name), text));
    }
    /// GUID of a tuner that is free before anything runs.
    QString freeTuner(int number) const;
    bool isIdle(const QString& tuner) const;
    /// Lets the server work off what waits; the answers and notices since the last call, in order.
    QStringList settled()
    {
        turnOnce();
        return std::exchange(m_watch->texts, {});
    }
    QUuid ask(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid())
    {
        return m_control->requestProduction(object, false, mcp);
    }
    /// GUID of the processor of an accepted production; null when it was refused.
    QUuid produced(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid());
    void vanishAndComeBack()
    {
        m_server->vanish();
        QVERIFY(m_server->comeBack());
    }

    KoltaSimulation::Installation m_installation = sampleInstallation();
    std::unique_ptr<KoltaSimulation::SimulatedServer> m_server;
    std::unique_ptr<Kolta::KoltaProductionControl> m_control;
    std::unique_ptr<Watch> m_watch;
};
