#pragma once

#include "productionwatch.h"

#include <simulation/simulatedserver.h>

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/tavikxmlhelpers.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/processors.h>
#include <values/value.h>

#include <QObject>
#include <QSet>
#include <QtTest>

#include <memory>

/// Productions on a simulated server, asked for through the library's production control; and the server's
/// life.
class TestProductions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void showsWhatRuns();
    void refuses_data();
    void refuses();
    void worksOffInOrder();
    void stopsWhatItKnows();
    void keepsItsBooks();
    void misbehaves_data();
    void misbehaves();
    void sharesTheHardwareList();
    void followsItsResources();
    void knowsOwners();
    void comesUp();
    void returnsWithoutAnything();
    void isOvertaken();
    void endsOnRequest();
    void runsFromTheBeginning();

private:
    /// What the request of that production is answered with when it is accepted.
    static QString accepted(const QUuid& id) { return id.toString() + QStringLiteral("@1@"); }
    QString base() const { return m_server->nodePath(QString()); }
    QString text(const char* name) const
    {
        auto* value = values::Tree::Instance().FindAs<values::StringValue>(base() + QLatin1String(name));
        return value ? value->GetValue() : QStringLiteral("<none>");
    }
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
    void checkBooks() const;
    void write(const char* name, const QString& text)
    {
        QVERIFY(values::WriteOrAnnounce(base() + QLatin1String(name), text));
    }
    QString freeTuner(int number) const;
    bool isIdle(const QString& tuner) const;
    /// Lets the server work off what waits; the answers and notices since the last call, in order.
    QStringList settled();
    QUuid ask(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid())
    {
        return m_control->requestProduction(object, false, mcp);
    }
    QUuid produced(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid());
    QStringList children(const char* name) const
    {
        auto* node = values::Tree::Instance().Find(base() + QLatin1String(name));
        return node ? node->GetChildNames() : QStringList(QStringLiteral("<none>"));
    }

    KoltaSimulation::Installation m_installation;
    std::unique_ptr<KoltaSimulation::SimulatedServer> m_server;
    std::unique_ptr<Kolta::KoltaProductionControl> m_control;
    std::unique_ptr<Watch> m_watch;
};
