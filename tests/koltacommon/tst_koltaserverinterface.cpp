#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunerbookingmanager.h>

#include <startup/errorhandler.h>
#include <values/treeclient.h>

#include <QtTest>

using namespace Kolta;
using SERVER_STATES::eServerState;
using values::SelectionValue;
using values::StringValue;
using values::Tree;

namespace {

const QString path = QStringLiteral("/AdminTree/S1");
const QString base = QStringLiteral("/ConnectManager/AdminTree/S1");
const QStringList texts =
    QStringLiteral("HostName Quit reset stopAll UnitPowerControl StartupErrors StartupProgress Status "
                   "InternalState StopResource ReplyResource StoppedResource Resources ActualConfiguration")
        .split(QLatin1Char(' '));

QString node(const QString& name, const QString& server = base)
{
    return server + QStringLiteral("/ADMINISTRATION/") + name;
}

/// Publishes a server in the given working state; all but one of its values when `missing` names one.
void publish(int state, const QString& missing = QString(), const QString& server = base)
{
    Tree& tree = Tree::Instance();
    for (const QString& name : texts) {
        if (name != missing)
            tree.Emplace<StringValue>(node(name, server));
    }
    tree.EnsureNode(node(QStringLiteral("RequestsNode"), server));
    tree.EnsureNode(node(QStringLiteral("Clients"), server));
    if (missing != QLatin1String("WorkingState"))
        tree.Emplace<SelectionValue>(
            node(QStringLiteral("WorkingState"), server),
            QMap<int, QString>{{0, QStringLiteral("Gone")}, {5, QStringLiteral("Up")}}, state);
}

void setState(int key)
{
    Tree::Instance().FindAs<SelectionValue>(node(QStringLiteral("WorkingState")))->SetSelectedKey(key);
}

StringValue* text(const QString& name)
{
    return Tree::Instance().FindAs<StringValue>(node(name));
}

class Server : public KoltaServerInterface
{
public:
    explicit Server(const QString& prefix = QStringLiteral("/ConnectManager"))
        : KoltaServerInterface(QStringLiteral("addr"), QString()), m_prefix(prefix)
    {
        connect(this, &Server::si_ConnectionChanged, this, [this](bool on, const QString& where) {
            add(QStringLiteral("connected %1 %2").arg(on).arg(where));
        });
        connect(this, &Server::si_ConnectionReady, this, [this](bool on, const QString& where) {
            add(QStringLiteral("ready %1 %2").arg(on).arg(where));
        });
        connect(this, &Server::si_StateChanged, this, [this](eServerState now, const QString& where) {
            add(QStringLiteral("state %1 %2").arg(now).arg(where));
        });
        connect(this, &Server::si_StatusMessageChanged, this,
                [this](const QString& message) { add(QStringLiteral("status ") + message); });
    }
    using KoltaServerInterface::init;

    QString taken() { return std::exchange(m_log, {}).join(QLatin1Char('|')); }

protected:
    QString getBasePath() override { return m_prefix; }

private:
    void add(const QString& line) { m_log.append(line); }
    const QString m_prefix;
    QStringList m_log;
};

class Client : public values::ITreeClient
{
public:
    Client() : ITreeClient(KoltaServerRegistry::connectionManagerAlias()) {}
    void SetOptimization(values::ValueBase& value) override { paths.append(value.GetName()); }
    QStringList paths;
};

} // namespace

class TestKoltaServerInterface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        KoltaServerRegistry::Instance().setDiscovery(false);
        KoltaServerRegistry::Instance().removeAllServers();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        Tree::Instance().Clear();
        QCOMPARE(InstanceCount<KoltaServerInterface>::living(), 0);
        QCOMPARE(Tree::Instance().Size(), 0);
    }

    void bindsAndProcessesContents()
    {
        publish(5);
        text(QStringLiteral("HostName"))->SetValue(QStringLiteral("station"));
        text(QStringLiteral("Status"))->SetValue(QStringLiteral("hello"));
        Server server;
        QCOMPARE(server.getHostname(), QStringLiteral("<unknown>"));
        QVERIFY(server.init(path));
        QCOMPARE(server.taken(), QStringLiteral("connected 1 addr|state 5 addr|status hello|ready 1 addr"));
        QCOMPARE(server.getHostname(), QStringLiteral("station"));
        QCOMPARE(server.getAdministrationBasePath(), base + QStringLiteral("/ADMINISTRATION/"));
        QCOMPARE(server.getDataBasePath(), QStringLiteral("/ConnectManager/DataTree/S1"));
        QCOMPARE(server.getRecordMapBasePath(true), QStringLiteral("/RecordMapTree/S1"));
        QCOMPARE(server.getRecordMapBasePath(false), QStringLiteral("/ConnectManager/RecordMapTree/S1"));
        QCOMPARE(server.getStateString(SERVER_STATES::eOperational), QStringLiteral("Up"));
        QCOMPARE(server.getStateString(SERVER_STATES::eState3), QStringLiteral("Disconnected"));
        const QString client = node(QStringLiteral("Clients/")) + server.getClientId().toString();
        QVERIFY(Tree::Instance().Find(client));

        QVERIFY(server.restartServer());
        QCOMPARE(text(QStringLiteral("reset"))->GetValue(), server.getClientId().toString());
        Tree::Instance().Remove(base);
        QVERIFY(!server.restartServer());

        Server elsewhere(QStringLiteral("/Other"));
        QVERIFY(!elsewhere.init(path));
        QCOMPARE(elsewhere.taken(), QStringLiteral("ready 0 addr"));
        QCOMPARE(elsewhere.getRecordMapBasePath(true), QStringLiteral("/Other/RecordMapTree/S1"));
        Server nowhere((QString()));
        QVERIFY(!nowhere.init(QString()));
        QCOMPARE(nowhere.taken(), QString());
    }

    void everyValueCounts()
    {
        const QStringList bound = texts.mid(0, 9) + QStringList{QStringLiteral("WorkingState")};
        for (const QString& missing : bound) {
            publish(5, missing);
            Server server;
            QVERIFY2(!server.init(path), qPrintable(missing));
            QVERIFY(server.taken().endsWith(QLatin1String("ready 0 addr")));
            QVERIFY(!server.isReady());
            Tree::Instance().Clear();
        }
    }

    void statesInOrder()
    {
        publish(0);
        Server server;
        QVERIFY(server.init(path));
        QCOMPARE(server.taken(), QStringLiteral("status |ready 1 addr"));
        const struct
        {
            int key;
            const char* signalsSeen;
            bool ready;
        } steps[] = {{3, "connected 1 addr|state 3 addr", true},   {4, "state 4 addr", true},
                     {9, "connected 0 addr|state 0 addr", false},  {7, "connected 1 addr|state 7 addr", true},
                     {-1, "connected 0 addr|state 0 addr", false}, {8, "", false}};
        for (const auto& step : steps) {
            setState(step.key);
            QCOMPARE(server.taken(), QLatin1String(step.signalsSeen));
            QCOMPARE(server.isReady(), step.ready);
        }
    }

    void operationalReadsMirrorsAfresh()
    {
        publish(4);
        Server server;
        server.init(path);
        const QSignalSpy resources(&server.getResourceObserver(),
                                   &KoltaResourceObserver::si_ResourcesChanged);
        const QSignalSpy processors(&server.getProcessorObserver(),
                                    &KoltaProcessorObserver::si_RunningProcessorsChanged);
        // Not heard by the observers themselves, as if the notification had been lost.
        text(QStringLiteral("Resources"))
            ->SetValue(RESOURCEMANAGEMENT::ResourceOverview().GetXmlString(), &server.getResourceObserver());
        text(QStringLiteral("ActualConfiguration"))
            ->SetValue(RESOURCEMANAGEMENT::ProcessorOverview().GetXmlString(),
                       &server.getProcessorObserver());
        setState(6);
        QCOMPARE(resources.count() + processors.count(), 0);
        setState(5);
        QCOMPARE(resources.count(), 1);
        QCOMPARE(processors.count(), 1);
    }

    /// Parts that are asked for while the server is away, or before it has published their nodes, are bound
    /// as these come, without another word; those of an interface that was bound to nothing when it is bound.
    void partsFollowLateNodes()
    {
        for (const char* const late : {"away", "nodes", "server"}) {
            const bool nothing = qstrcmp(late, "server") == 0;
            if (!nothing)
                publish(5, QStringLiteral("ReplyResource"));
            Tree::Instance().Remove(node(QStringLiteral("Resources")));
            Server server;
            QCOMPARE(server.init(path), !nothing);
            if (qstrcmp(late, "away") == 0)
                Tree::Instance().Remove(base);
            TunerBookingManager& booking = server.getBookingManager();
            KoltaProductionControl& production = server.getProductionControl();
            const Startup::TraceRecorder traces;
            RESOURCEMANAGEMENT::ResourceOverview overview;
            overview.EditTuner().resize(1);
            overview.EditTuner()[0].EditTavikResource().SetGUID(QStringLiteral("t"));
            Tree::Instance().Emplace<StringValue>(node(QStringLiteral("Resources")), overview.GetXmlString());
            publish(5);
            QVERIFY(!nothing || server.init(path));
            QVERIFY2(booking.existsTuner(QStringLiteral("t")), late);
            QVERIFY(!production.requestProduction(RESOURCEMANAGEMENT::SCP(), false, QUuid()).isNull());
            QCOMPARE(traces.count(QStringLiteral("Could not initialize.")), 0);
            Tree::Instance().Clear();
        }
    }

    void asksForCheapTransfer()
    {
        Startup::TraceRecorder traces;
        publish(5, QStringLiteral("Resources"));
        Server server;
        server.init(path);
        QCOMPARE(traces.count(QStringLiteral("OPTIMIZATION")), 0);
        const Client client;
        server.init(path);
        QCOMPARE(client.paths,
                 QStringList({QStringLiteral("ReplyResource"), QStringLiteral("ActualConfiguration")}));
        QCOMPARE(traces.count(QStringLiteral("CALLING SET OPTIMIZATION IN Kolta::KoltaServerInterface")), 1);
        QCOMPARE(traces.count(
                     QStringLiteral("/ADMINISTRATION/Resources not yet available. cannot set optimization")),
                 1);
    }

    void registryBindsWhenServersAppear()
    {
        auto& registry = KoltaServerRegistry::Instance();
        QSignalSpy added(&registry, &KoltaServerRegistry::si_ServerAdded);
        QSignalSpy removed(&registry, &KoltaServerRegistry::si_ServerRemoved);
        KoltaServerInterface* const first = registry.addServer(QStringLiteral("a:1"), base);
        QVERIFY(first);
        QCOMPARE(registry.addServer(QStringLiteral("a:1"), base), first);
        QVERIFY(!registry.addServer(QStringLiteral("b:1"), path)); // the same node
        QVERIFY(!first->isReady());
        registry.setDiscovery(true);
        publish(5);
        publish(5, QString(), QStringLiteral("/ConnectManager/AdminTree/S2"));
        QTRY_COMPARE(registry.addresses(), QStringList({QStringLiteral("a:1"), QStringLiteral("S2")}));
        QVERIFY(first->isReady());
        QVERIFY(registry.server(QStringLiteral("S2"))->isReady());
        QCOMPARE(registry.serverAt(base), first);
        QCOMPARE(added.count(), 2);

        QVERIFY(registry.removeServer(registry.addresses().first())); // a text that goes with the server
        QVERIFY(!registry.removeServer(QStringLiteral("a:1")));
        QVERIFY(!registry.serverAt(base));
        delete registry.server(QStringLiteral("S2")); // an owner that does not ask
        QCOMPARE(removed.count(), 2);
        QVERIFY(registry.addresses().isEmpty());
    }

    void registryOutlivesRemovalInSlots()
    {
        auto& registry = KoltaServerRegistry::Instance();
        publish(5);
        const auto connection = connect(&registry, &KoltaServerRegistry::si_ServerAdded, this,
                                        [&](const QString& address) { registry.removeServer(address); });
        QVERIFY(!registry.addServer(QStringLiteral("a:1"), path));
        disconnect(connection);
        QVERIFY(registry.addServer(QStringLiteral("a:1"), path)->isReady());
    }
};

QTEST_GUILESS_MAIN(TestKoltaServerInterface)
#include "tst_koltaserverinterface.moc"
