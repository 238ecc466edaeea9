#include "rawclient.h"

#include <simulation/faultids.h>
#include <simulation/resourcegenerator.h>
#include <simulation/simulatedserver.h>
#include <support/simulated.h>
#include <support/test.h>

#include <koltacommon/additionalconverters.h>
#include <values/value.h>

using namespace KoltaSimulation;
using RESOURCEMANAGEMENT::ResourceOverview;
using XmlCommunication::CEventFilterConverter;

class TestSimulatedServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<SimulatedServer>(m_installation);
        QVERIFY(m_server->listen());
        m_server->publish(m_tree);
        m_client = std::make_unique<RawClient>(m_server->address(), m_server->port());
    }

    void cleanup()
    {
        m_client.reset();
        m_server.reset();
        QVERIFY(!m_tree.Find(m_installation.basePath()));
    }

    void answers()
    {
        QCOMPARE(m_server->hostAndPort(), "127.0.0.1:%1"_s.arg(m_server->port()));
        RawClient& client = *m_client;
        client.send(XmlCommunication::CAppDescription::makeFragment());
        client.send(ResourceConverter::CQueryFaultReference::makeFragment());
        client.send(makeResourceQuery(tunerGuid(3)));
        client.send(ResourceConverter::CResourceDemandClasses::makeFragment());
        client.send(makeStatisticsQuery());
        QTRY_COMPARE(client.messages.size(), 5);

        const XmlCommunication::CAppDescription description(client.fragment(0));
        QVERIFY(description.isCompatible());
        QCOMPARE(description.getAppGuid(), m_installation.application().guid);
        const ResourceConverter::CQueryFaultReference reference(client.fragment(1));
        QCOMPARE(reference.getFaults().size(), m_installation.faults().size());
        QCOMPARE(reference.getFaults().last().text, m_installation.faults().last().text);
        RESOURCEMANAGEMENT::Tuner tuner;
        tuner.SetXmlString(QString::fromUtf8(client.fragment(2).getDataTree().toXml()), true);
        QVERIFY(tuner == m_server->resources().GetTuner().at(3));
        ResourceConverter::CResourceDemandClasses demandClasses(client.fragment(3));
        Kolta::AdditionalConverters converters;
        converters.sl_SetQueryResourceDemandClasses(&demandClasses);
        QVERIFY(converters.GetDemandClasses() == m_installation.demandClasses());
        ServerStatistics statistics;
        QVERIFY(readStatistics(client.fragment(4), statistics));
        QCOMPARE(statistics.requests, quint64(5));
        QCOMPARE(statistics.replies, quint64(4));
        QCOMPARE(statistics.links, quint64(1));
    }

    void reportsFaults_data()
    {
        const Rows<QString, QString, quint32, int> row("component operation fault causes");
        row("resource", "Resources", "Resource GUID={x}", eFaultNoSuchResource, 3);
        row("no GUID", "Resources", "Resource", eFaultParameterMissing, 0);
        row("no data stream", "Recording", "StartRecording", eFaultParameterMissing, 0);
        row("no producer", "Recording", "<StartRecording><DataStream name=\"symbol\"/></StartRecording>",
            eFaultParameterMissing, 0);
        row("no component", "EventFilter", "<Subscribe/>", eFaultParameterMissing, 0);
        row("suppression of maybe", "RequestTree", "<SetSuppression>maybe</SetSuppression>",
            eFaultParameterWrong, 0);
        row("operation", "Resources", "Explode", eFaultUnknownOperation, 0);
        row("no operation", "Statistics", "", eFaultNoOperation, 0);
        row("component", "Nowhere", "Resource", eFaultUnknownComponent, 0);
        row("operation of the protocol", "Application", "Explode", eFaultUnknownOperation, 0);
    }

    void reportsFaults()
    {
        QFETCH(QString, component);
        QFETCH(QString, operation);
        QFETCH(quint32, fault);
        QFETCH(int, causes);
        XmlCommon::CMsgFragment query(component);
        if (operation.startsWith(QLatin1Char('<')))
            query.setRequestTree(XmlCommon::CRequestTree(XmlCommon::CDataTree::fromXml(operation.toUtf8())));
        else if (operation.contains(QLatin1Char('=')))
            query = makeResourceQuery("{x}"_s);
        else if (!operation.isEmpty())
            query.setRequestTree(
                XmlCommon::CRequestTree(XmlCommon::CDataTree(XmlCommon::CTagname(operation))));
        m_client->send(query);
        QTRY_COMPARE(m_client->messages.size(), 1);
        XmlCommon::CFaultTree tree = m_client->fragment(0).getFaultTree();
        quint32 id = 0;
        QVERIFY(tree.getFaultID(id));
        QCOMPARE(id, fault);
        int found = 0;
        for (; tree.hasCausationDataTree(); ++found) {
            QVERIFY(tree.getNumberOfAddenda() > 0);
            tree = XmlCommon::CFaultTree(tree.getCausationDataTree());
        }
        QCOMPARE(found, causes);
        QVERIFY(!m_client->fragment(0).hasDataTree());
    }

    void refusesTheOtherKind()
    {
        m_client->swapped = true;
        m_client->send(CEventFilterConverter::makeFragment("*"_s));
        m_client->send(makeStatisticsQuery());
        m_client->send(recording());
        QTRY_COMPARE(m_client->messages.size(), 3);
        for (int i = 0; i < 3; ++i) {
            quint32 id = 0;
            QVERIFY(m_client->fragment(i).getFaultTree().getFaultID(id));
            QCOMPARE(id, quint32(eFaultWrongKind));
            QVERIFY(!m_client->fragment(i).hasDataTree());
        }
        QCOMPARE(m_server->broadcast("Clock"_s, XmlCommon::CDataTree(QLatin1String("Tick"))), 0);
    }

    void subscribesToSeveralComponents()
    {
        XmlCommon::CDataTree tree(QLatin1String("Subscribe"));
        for (const char* component : {"Clock", "Weather"})
            tree.editRoot().append("Component", QLatin1String(component));
        XmlCommon::CMsgFragment fragment("EventFilter"_s);
        fragment.setRequestTree(XmlCommon::CRequestTree(tree));
        m_client->send(fragment);
        QTRY_COMPARE(m_client->messages.size(), 1);
        QVERIFY(!m_client->fragment(0).hasFaultTree());
        const XmlCommon::CDataTree event(QLatin1String("Event"));
        QCOMPARE(m_server->broadcast("Clock"_s, event), 1);
        QCOMPARE(m_server->broadcast("Weather"_s, event), 1);
        QCOMPARE(m_server->broadcast("Tide"_s, event), 0);
    }

    void executesACommandOnce()
    {
        m_server->addMisbehaviour(misbehaviour("reset,times=1"_s));
        m_client->send(recording(), 1, "t-1"_s);
        QTRY_VERIFY(m_client->isClosed()); // executed, and the reply is lost
        RawClient again(m_server->address(), m_server->port());
        again.send(recording(), 2, "t-1"_s);
        again.send(recording(), 3, "t-2"_s);
        again.send(recording(), 4);
        again.send(XmlCommon::CMsgFragment("Recording"_s), 5, "t-1"_s); // that token is another command's
        QTRY_COMPARE(again.messages.size(), 4);
        QVERIFY(again.fragment(3).hasFaultTree());
        QCOMPARE(again.messages.first()->getMessageID(), 2u);
        QVERIFY(!again.fragment(0).hasFaultTree());
        QCOMPARE(m_server->statistics().commands, quint64(4));
        QCOMPARE(m_server->statistics().repeats, quint64(1));
    }

    void asksForRights()
    {
        QString error;
        QVERIFY(m_server->setUsers(installationFolder() + "/users.xml"_s, error));
        Startup::TraceRecorder traces;
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        m_client->send(recording());
        m_client->send(makeStatisticsQuery());
        m_client->send(CEventFilterConverter::makeFragment("*"_s));
        QTRY_COMPARE(m_client->messages.size(), 3);
        Startup::ErrorHandler::Instance().setLoggingEnabled(true);
        quint32 id = 0;
        QVERIFY(m_client->fragment(0).getFaultTree().getFaultID(id));
        QCOMPARE(id, quint32(eFaultNoRight));
        QVERIFY(!m_client->fragment(1).hasFaultTree() && !m_client->fragment(2).hasFaultTree());
        QCOMPARE(traces.count("Recording/StartRecording: fault 110"_s), 1);
        QCOMPARE(traces.count("unknown user from 127.0.0.1:"_s), 1);
    }

    void knowsItsLinks()
    {
        XmlCommunication::CRequestTreeConverter converter;
        converter.setRequestTreeSuppression(true);
        m_client->send(makeStatisticsQuery(), 7);
        m_client->send(converter.makeFragment(), 8);
        for (const quint32 id : {7u, 4294967295u, 71u, 4294967295u}) // two for the second time
            m_client->send(makeStatisticsQuery(), id);
        QTRY_COMPARE(m_client->messages.size(), 6);
        QCOMPARE(m_server->statistics().duplicates, quint64(2));
        for (int i = 0; i < 6; ++i)
            QCOMPARE(m_client->fragment(i).hasRequestTree(), i == 0); // left out from the wish on
    }

    void tellsSubscribersOncePerBatch()
    {
        RawClient other(m_server->address(), m_server->port());
        RawClient all(m_server->address(), m_server->port());
        m_client->send(CEventFilterConverter::makeFragment("Resources"_s));
        other.send(CEventFilterConverter::makeFragment("Clock"_s));
        all.send(CEventFilterConverter::makeFragment("*"_s));
        QTRY_VERIFY(m_client->messages.size() == 1 && other.messages.size() == 1 && all.messages.size() == 1);

        const QString gone = tunerGuid(0);
        const QString busy = tunerGuid(1);
        const RESOURCEMANAGEMENT::Tuner added = makeTuner(5, 1);
        const RESOURCEMANAGEMENT::Tuner passing = makeTuner(6, 1);
        const QString before = nodeText("Resources");
        {
            const SimulatedServer::Batch batch(*m_server);
            const SimulatedServer::Batch inner(*m_server);
            QVERIFY(m_server->setTunerIdle(busy, false));
            QVERIFY(!m_server->setTunerIdle(busy, false));
            QVERIFY(m_server->setTunerAccessible(busy, false));
            QVERIFY(m_server->removeTuner(gone));
            QVERIFY(!m_server->removeTuner(gone));
            QVERIFY(m_server->addTuner(added));
            QVERIFY(!m_server->addTuner(added));
            QVERIFY(m_server->addTuner(passing));
            QVERIFY(m_server->removeTuner(passing.GetTavikResource().GetGUID()));
            QCOMPARE(nodeText("Resources"), before);
        }
        QTRY_VERIFY(m_client->messages.size() == 2 && all.messages.size() == 2);
        QCOMPARE(m_client->messages.at(1)->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_BROADCAST);
        const QByteArray expected =
            "<ResourcesChanged><Added>" + added.GetTavikResource().GetGUID().toUtf8() + "</Added><Changed>" +
            busy.toUtf8() + "</Changed><Removed>" + gone.toUtf8() + "</Removed></ResourcesChanged>";
        QCOMPARE(m_client->fragment(1).getDataTree().toXml(), expected);
        QCOMPARE(published().GetTuner().size(), m_installation.resources().GetTuner().size());
        QVERIFY(published() == m_server->resources());

        // Another request goes through first, so a broadcast would have come by now.
        other.send(makeStatisticsQuery());
        QTRY_COMPARE(other.messages.size(), 2);
        QCOMPARE(m_server->statistics().broadcasts, quint64(2));
    }

    void publishesAndObeys()
    {
        QVERIFY(published() == m_installation.resources());
        QCOMPARE(nodeText("HostName"), m_installation.hostName());
        auto* state = m_tree.FindAs<values::SelectionValue>(m_server->nodePath("WorkingState"_s));
        QVERIFY(state);
        QCOMPARE(state->GetStringValue(), "Operational"_s);
        m_server->setWorkingState(4);
        QCOMPARE(state->GetSelectedKey(), 4);

        ResourceOverview wish;
        wish.EditTuner() = {m_server->resources().GetTuner().at(2), makeTuner(1, 1)};
        wish.EditTuner()[0].SetOptions("NEW"_s);
        write("ChangedTuners", wish.GetXmlString());
        QCOMPARE(published().GetTuner().at(2).GetOptions(), "NEW"_s);
        // A GUID that the server does not know changes nothing.
        QCOMPARE(published().GetTuner().size(), m_installation.resources().GetTuner().size());

        // The same wish announced again is obeyed again.
        m_server->setTunerAccessible(tunerGuid(2), !wish.GetTuner().at(0).GetAccessible());
        write("ChangedTuners", wish.GetXmlString());
        QCOMPARE(published().GetTuner().at(2).GetAccessible(), wish.GetTuner().at(0).GetAccessible());

        wish = ResourceOverview();
        wish.EditProcessingUnit() = {m_server->resources().GetProcessingUnit().at(1)};
        wish.EditProcessingUnit()[0].SetLocalStorage(RESOURCEMANAGEMENT::ProcessingUnit::eNoLocalStorage);
        write("ChangedPUs", wish.GetXmlString());
        QCOMPARE(published().GetProcessingUnit().at(1), wish.GetProcessingUnit().at(0));
    }

    void survivesWrongRequests()
    {
        Startup::TraceRecorder trace;
        Startup::ErrorHandler::Instance().addSink(&trace);
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        const QString before = nodeText("Resources");
        write("ChangedTuners", "<ResourceOverview><Tuner>"_s);
        write("ChangedTuners", "<TunerManagementRequest><Tuner/></TunerManagementRequest>"_s);
        write("ChangedPUs", "<StorageUnit/>"_s);
        write("UnitPowerControl", "@@"_s);
        write("UnitPowerControl", "off"_s);
        write("UnitPowerControl", QString());
        Startup::ErrorHandler::Instance().removeSink(&trace);
        Startup::ErrorHandler::Instance().setLoggingEnabled(true);
        QCOMPARE(nodeText("Resources"), before);
        QCOMPARE(trace.count("A request node holds no"_s), 3);
        QCOMPARE(trace.count("expected SCOPE@ON@GUIDS"_s), 2);
    }

    void vanishesAndComesBack()
    {
        m_client->send(makeStatisticsQuery());
        QTRY_COMPARE(m_client->messages.size(), 1);
        const quint16 port = m_server->port();

        m_server->vanish();
        QTRY_VERIFY(m_client->isClosed());
        RawClient refused(m_server->address(), port);
        QTRY_COMPARE(refused.socket.error(), QAbstractSocket::ConnectionRefusedError);
        // What happens meanwhile is there when it comes back.
        const bool wasIdle = m_server->resources().GetTuner().at(0).GetIdle();
        m_server->setTunerIdle(tunerGuid(0), !wasIdle);

        QVERIFY(m_server->comeBack());
        QCOMPARE(published().GetTuner().at(0).GetIdle(), !wasIdle);
        RawClient again(m_server->address(), port);
        again.send(makeStatisticsQuery());
        QTRY_COMPARE(again.messages.size(), 1);
    }

private:
    QString tunerGuid(int index) const
    {
        return m_server->resources().GetTuner().at(index).GetTavikResource().GetGUID();
    }
    QString nodeText(const char* name) const
    {
        auto* value = m_tree.FindAs<values::StringValue>(m_server->nodePath(QLatin1String(name)));
        return value ? value->GetValue() : "<none>"_s;
    }
    static XmlCommon::CMsgFragment recording()
    {
        XmlCommon::CMsgFragment fragment("Recording"_s);
        fragment.setRequestTree(XmlCommon::CRequestTree(
            XmlCommon::CDataTree::fromXml("<StartRecording><DataStream name=\"symbol\" "
                                          "producer=\"{8b1a9953-c461-4296-a827-abf8c47804d7}\"/>"
                                          "</StartRecording>")));
        return fragment;
    }
    void write(const char* name, const QString& text)
    {
        auto* value = m_tree.FindAs<values::StringValue>(m_server->nodePath(QLatin1String(name)));
        QVERIFY(value);
        if (!value->SetValue(text))
            value->Announce();
    }

    ResourceOverview published() const
    {
        ResourceOverview overview;
        overview.SetXmlString(nodeText("Resources"), true);
        return overview;
    }

    Installation m_installation = sampleInstallation();
    values::Tree m_tree;
    std::unique_ptr<SimulatedServer> m_server;
    std::unique_ptr<RawClient> m_client;
};

KOLTA_TEST(TestSimulatedServer);
#include "tst_simulatedserver.moc"
