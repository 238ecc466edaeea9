#include "rawclient.h"

#include <simulation/faultids.h>
#include <simulation/resourcegenerator.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/additionalconverters.h>
#include <startup/errorhandler.h>
#include <values/value.h>

#include <QtTest>

using namespace KoltaSimulation;
using RESOURCEMANAGEMENT::ResourceOverview;
using XmlCommunication::CEventFilterConverter;

Q_DECLARE_METATYPE(XmlCommon::CMsgFragment)

class TestSimulatedServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void answers();
    void reportsFaults_data();
    void reportsFaults();
    void refusesTheOtherKind();
    void subscribesToSeveralComponents();
    void executesACommandOnce();
    void asksForRights();
    void leavesOutRequestTrees();
    void countsDuplicates();
    void tellsSubscribersOncePerBatch();
    void publishesAndObeys();
    void survivesWrongRequests();
    void vanishesAndComesBack();

private:
    QString tunerGuid(int index) const
    {
        return m_server->resources().GetTuner().at(index).GetTavikResource().GetGUID();
    }
    QString nodeText(const char* name) const
    {
        auto* value = m_tree.FindAs<values::StringValue>(m_server->nodePath(QLatin1String(name)));
        return value ? value->GetValue() : QStringLiteral("<none>");
    }
    static XmlCommon::CMsgFragment recording()
    {
        XmlCommon::CMsgFragment fragment(QStringLiteral("Recording"));
        fragment.setRequestTree(XmlCommon::CRequestTree(
            XmlCommon::CDataTree::fromXml("<StartRecording><DataStream name=\"symbol\" "
                                          "producer=\"{8b1a9953-c461-4296-a827-abf8c47804d7}\"/>"
                                          "</StartRecording>")));
        return fragment;
    }
    void write(const char* name, const QString& text);
    ResourceOverview published() const;

    Installation m_installation;
    values::Tree m_tree;
    std::unique_ptr<SimulatedServer> m_server;
    std::unique_ptr<RawClient> m_client;
};

void TestSimulatedServer::initTestCase()
{
    QString error;
    QVERIFY2(m_installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
}

void TestSimulatedServer::init()
{
    m_server = std::make_unique<SimulatedServer>(m_installation);
    QVERIFY(m_server->listen());
    m_server->publish(m_tree);
    m_client = std::make_unique<RawClient>(m_server->address(), m_server->port());
}

void TestSimulatedServer::cleanup()
{
    m_client.reset();
    m_server.reset();
    QVERIFY(!m_tree.Find(m_installation.basePath()));
}

void TestSimulatedServer::write(const char* name, const QString& text)
{
    auto* value = m_tree.FindAs<values::StringValue>(m_server->nodePath(QLatin1String(name)));
    QVERIFY(value);
    if (!value->SetValue(text))
        value->Announce();
}

ResourceOverview TestSimulatedServer::published() const
{
    ResourceOverview overview;
    overview.SetXmlString(nodeText("Resources"), true);
    return overview;
}

void TestSimulatedServer::answers()
{
    QCOMPARE(m_server->hostAndPort(), QStringLiteral("127.0.0.1:%1").arg(m_server->port()));
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

void TestSimulatedServer::reportsFaults_data()
{
    QTest::addColumn<XmlCommon::CMsgFragment>("query");
    QTest::addColumn<quint32>("fault");
    QTest::addColumn<int>("causes");
    const auto query = [](const char* component, const char* operation) {
        XmlCommon::CMsgFragment fragment{QString::fromLatin1(component)};
        if (*operation)
            fragment.setRequestTree(XmlCommon::CRequestTree(XmlCommon::CDataTree(QLatin1String(operation))));
        return fragment;
    };
    QTest::newRow("resource") << makeResourceQuery(QStringLiteral("{x}")) << quint32(eFaultNoSuchResource)
                              << 3;
    QTest::newRow("no GUID") << query("Resources", "Resource") << quint32(eFaultParameterMissing) << 0;
    QTest::newRow("no data stream") << query("Recording", "StartRecording") << quint32(eFaultParameterMissing)
                                    << 0;
    const auto broken = [](const char* component, const char* xml) {
        XmlCommon::CMsgFragment fragment{QString::fromLatin1(component)};
        fragment.setRequestTree(XmlCommon::CRequestTree(XmlCommon::CDataTree::fromXml(xml)));
        return fragment;
    };
    QTest::newRow("no producer") << broken("Recording",
                                           "<StartRecording><DataStream name=\"symbol\"/></StartRecording>")
                                 << quint32(eFaultParameterMissing) << 0;
    QTest::newRow("no component") << broken("EventFilter", "<Subscribe/>") << quint32(eFaultParameterMissing)
                                  << 0;
    QTest::newRow("suppression of maybe") << broken("RequestTree", "<SetSuppression>maybe</SetSuppression>")
                                          << quint32(eFaultParameterWrong) << 0;
    QTest::newRow("operation") << query("Resources", "Explode") << quint32(eFaultUnknownOperation) << 0;
    QTest::newRow("no operation") << query("Statistics", "") << quint32(eFaultNoOperation) << 0;
    QTest::newRow("component") << query("Nowhere", "Resource") << quint32(eFaultUnknownComponent) << 0;
    QTest::newRow("operation of the protocol")
        << query("Application", "Explode") << quint32(eFaultUnknownOperation) << 0;
}

void TestSimulatedServer::reportsFaults()
{
    QFETCH(XmlCommon::CMsgFragment, query);
    QFETCH(quint32, fault);
    QFETCH(int, causes);
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

void TestSimulatedServer::refusesTheOtherKind()
{
    m_client->swapped = true;
    m_client->send(CEventFilterConverter::makeFragment(QStringLiteral("*")));
    m_client->send(makeStatisticsQuery());
    m_client->send(recording());
    QTRY_COMPARE(m_client->messages.size(), 3);
    for (int i = 0; i < 3; ++i) {
        quint32 id = 0;
        QVERIFY(m_client->fragment(i).getFaultTree().getFaultID(id));
        QCOMPARE(id, quint32(eFaultWrongKind));
        QVERIFY(!m_client->fragment(i).hasDataTree());
    }
    QCOMPARE(m_server->broadcast(QStringLiteral("Clock"), XmlCommon::CDataTree(QLatin1String("Tick"))), 0);
}

void TestSimulatedServer::subscribesToSeveralComponents()
{
    XmlCommon::CDataTree tree(QLatin1String("Subscribe"));
    for (const char* component : {"Clock", "Weather"})
        tree.editRoot().append("Component", QLatin1String(component));
    XmlCommon::CMsgFragment fragment(QStringLiteral("EventFilter"));
    fragment.setRequestTree(XmlCommon::CRequestTree(tree));
    m_client->send(fragment);
    QTRY_COMPARE(m_client->messages.size(), 1);
    QVERIFY(!m_client->fragment(0).hasFaultTree());
    const XmlCommon::CDataTree event(QLatin1String("Event"));
    QCOMPARE(m_server->broadcast(QStringLiteral("Clock"), event), 1);
    QCOMPARE(m_server->broadcast(QStringLiteral("Weather"), event), 1);
    QCOMPARE(m_server->broadcast(QStringLiteral("Tide"), event), 0);
}

void TestSimulatedServer::executesACommandOnce()
{
    MisbehaviourRule reset;
    reset.kind = Misbehaviour::Reset;
    reset.times = 1;
    m_server->addMisbehaviour(reset);
    m_client->send(recording(), 1, QStringLiteral("t-1"));
    QTRY_VERIFY(m_client->isClosed()); // executed, and the reply is lost
    RawClient again(m_server->address(), m_server->port());
    again.send(recording(), 2, QStringLiteral("t-1"));
    again.send(recording(), 3, QStringLiteral("t-2"));
    again.send(recording(), 4);
    QTRY_COMPARE(again.messages.size(), 3);
    QCOMPARE(again.messages.first()->getMessageID(), 2u);
    QVERIFY(!again.fragment(0).hasFaultTree());
    QCOMPARE(m_server->statistics().commands, quint64(3));
    QCOMPARE(m_server->statistics().repeats, quint64(1));
}

void TestSimulatedServer::asksForRights()
{
    QString error;
    QVERIFY(m_server->setUsers(QStringLiteral(KOLTA_INSTALLATION_DIR "/users.xml"), error));
    Startup::TraceRecorder traces;
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    m_client->send(recording());
    m_client->send(makeStatisticsQuery());
    m_client->send(CEventFilterConverter::makeFragment(QStringLiteral("*")));
    QTRY_COMPARE(m_client->messages.size(), 3);
    Startup::ErrorHandler::Instance().setLoggingEnabled(true);
    quint32 id = 0;
    QVERIFY(m_client->fragment(0).getFaultTree().getFaultID(id));
    QCOMPARE(id, quint32(eFaultNoRight));
    QVERIFY(!m_client->fragment(1).hasFaultTree() && !m_client->fragment(2).hasFaultTree());
    QCOMPARE(traces.count(QStringLiteral("Recording/StartRecording: fault 110")), 1);
    QCOMPARE(traces.count(QStringLiteral("unknown user from 127.0.0.1:")), 1);
}

void TestSimulatedServer::leavesOutRequestTrees()
{
    XmlCommunication::CRequestTreeConverter converter;
    m_client->send(makeStatisticsQuery());
    converter.setRequestTreeSuppression(true);
    m_client->send(converter.makeFragment());
    m_client->send(makeStatisticsQuery());
    QTRY_COMPARE(m_client->messages.size(), 3);
    QVERIFY(m_client->fragment(0).hasRequestTree());
    QVERIFY(!m_client->fragment(1).hasRequestTree());
    QVERIFY(!m_client->fragment(2).hasRequestTree());
}

void TestSimulatedServer::countsDuplicates()
{
    for (const quint32 id : {7u, 8u, 7u, 4294967295u, 71u, 4294967295u})
        m_client->send(makeStatisticsQuery(), id);
    QTRY_COMPARE(m_client->messages.size(), 6);
    QCOMPARE(m_server->statistics().duplicates, quint64(2));
}

void TestSimulatedServer::tellsSubscribersOncePerBatch()
{
    RawClient other(m_server->address(), m_server->port());
    RawClient all(m_server->address(), m_server->port());
    m_client->send(CEventFilterConverter::makeFragment(QStringLiteral("Resources")));
    other.send(CEventFilterConverter::makeFragment(QStringLiteral("Clock")));
    all.send(CEventFilterConverter::makeFragment(QStringLiteral("*")));
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
    const QByteArray expected = "<ResourcesChanged><Added>" + added.GetTavikResource().GetGUID().toUtf8() +
                                "</Added><Changed>" + busy.toUtf8() + "</Changed><Removed>" + gone.toUtf8() +
                                "</Removed></ResourcesChanged>";
    QCOMPARE(m_client->fragment(1).getDataTree().toXml(), expected);
    QCOMPARE(published().GetTuner().size(), m_installation.resources().GetTuner().size());
    QVERIFY(published() == m_server->resources());

    // Another request goes through first, so a broadcast would have come by now.
    other.send(makeStatisticsQuery());
    QTRY_COMPARE(other.messages.size(), 2);
    QCOMPARE(m_server->statistics().broadcasts, quint64(2));
}

void TestSimulatedServer::publishesAndObeys()
{
    QVERIFY(published() == m_installation.resources());
    QCOMPARE(nodeText("HostName"), m_installation.hostName());
    auto* state = m_tree.FindAs<values::SelectionValue>(m_server->nodePath(QStringLiteral("WorkingState")));
    QVERIFY(state);
    QCOMPARE(state->GetStringValue(), QStringLiteral("Operational"));
    m_server->setWorkingState(4);
    QCOMPARE(state->GetSelectedKey(), 4);

    ResourceOverview wish;
    wish.EditTuner() = {m_server->resources().GetTuner().at(2), makeTuner(1, 1)};
    wish.EditTuner()[0].SetOptions(QStringLiteral("NEW"));
    write("ChangedTuners", wish.GetXmlString());
    QCOMPARE(published().GetTuner().at(2).GetOptions(), QStringLiteral("NEW"));
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

void TestSimulatedServer::survivesWrongRequests()
{
    Startup::TraceRecorder trace;
    Startup::ErrorHandler::Instance().addSink(&trace);
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    const QString before = nodeText("Resources");
    write("ChangedTuners", QStringLiteral("<ResourceOverview><Tuner>"));
    write("ChangedTuners", QStringLiteral("<TunerManagementRequest><Tuner/></TunerManagementRequest>"));
    write("ChangedPUs", QStringLiteral("<StorageUnit/>"));
    write("UnitPowerControl", QStringLiteral("@@"));
    write("UnitPowerControl", QStringLiteral("off"));
    write("UnitPowerControl", QString());
    Startup::ErrorHandler::Instance().removeSink(&trace);
    Startup::ErrorHandler::Instance().setLoggingEnabled(true);
    QCOMPARE(nodeText("Resources"), before);
    QCOMPARE(trace.count(QStringLiteral("A request node holds no")), 3);
    QCOMPARE(trace.count(QStringLiteral("expected SCOPE@ON@GUIDS")), 2);
}

void TestSimulatedServer::vanishesAndComesBack()
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

QTEST_GUILESS_MAIN(TestSimulatedServer)
#include "tst_simulatedserver.moc"
