#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunerbookingmanager.h>
#include <support/signalrecorder.h>
#include <support/test.h>

#include <values/treeclient.h>

using namespace Kolta;
using SERVER_STATES::eServerState;
using values::SelectionValue;
using values::StringValue;
using values::Tree;

namespace {

const QString path = "/AdminTree/S1"_s;
const QString base = "/ConnectManager/AdminTree/S1"_s;
const QStringList texts =
    "HostName Quit reset stopAll UnitPowerControl StartupErrors StartupProgress Status "
    "InternalState StopResource ReplyResource StoppedResource Resources ActualConfiguration"_s.split(
        QLatin1Char(' '));

QString node(const QString& name, const QString& server = base)
{
    return server + "/ADMINISTRATION/"_s + name;
}

/// Publishes a server in the given working state; all but one of its values when `missing` names one.
void publish(int state, const QString& missing = QString(), const QString& server = base)
{
    Tree& tree = Tree::Instance();
    for (const QString& name : texts) {
        if (name != missing)
            tree.Emplace<StringValue>(node(name, server));
    }
    tree.EnsureNode(node("RequestsNode"_s, server));
    tree.EnsureNode(node("Clients"_s, server));
    if (missing != "WorkingState"_s)
        tree.Emplace<SelectionValue>(node("WorkingState"_s, server),
                                     QMap<int, QString>{{0, "Gone"_s}, {5, "Up"_s}}, state);
}

void setState(int key)
{
    Tree::Instance().FindAs<SelectionValue>(node("WorkingState"_s))->SetSelectedKey(key);
}

StringValue* text(const QString& name)
{
    return Tree::Instance().FindAs<StringValue>(node(name));
}

class Server : public KoltaServerInterface
{
public:
    explicit Server(const QString& prefix = "/ConnectManager"_s)
        : KoltaServerInterface("addr"_s, QString()), m_prefix(prefix)
    {
        m_recorder.write<bool>([](bool on) { return QString::number(on); });
        m_recorder.hear(*this, {{"si_ConnectionChanged", "connected %1 %2"_s},
                                {"si_ConnectionReady", "ready %1 %2"_s},
                                {"si_StateChanged", "state %1 %2"_s},
                                {"si_StatusMessageChanged", "status %1"_s}});
    }
    using KoltaServerInterface::init;

    QString taken() { return m_recorder.taken("|"_s); }

protected:
    QString getBasePath() override { return m_prefix; }

private:
    const QString m_prefix;
    SignalRecorder m_recorder;
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
        text("HostName"_s)->SetValue("station"_s);
        text("Status"_s)->SetValue("hello"_s);
        Server server;
        QCOMPARE(server.getHostname(), "<unknown>"_s);
        QVERIFY(server.init(path));
        QCOMPARE(server.taken(), "connected 1 addr|state 5 addr|status hello|ready 1 addr"_s);
        QCOMPARE(server.getHostname(), "station"_s);
        QCOMPARE(server.getAdministrationBasePath(), base + "/ADMINISTRATION/"_s);
        QCOMPARE(server.getDataBasePath(), "/ConnectManager/DataTree/S1"_s);
        QCOMPARE(server.getRecordMapBasePath(true), "/RecordMapTree/S1"_s);
        QCOMPARE(server.getRecordMapBasePath(false), "/ConnectManager/RecordMapTree/S1"_s);
        QCOMPARE(server.getStateString(SERVER_STATES::eOperational), "Up"_s);
        QCOMPARE(server.getStateString(SERVER_STATES::eState3), "Disconnected"_s);
        const QString client = node("Clients/"_s) + server.getClientId().toString();
        QVERIFY(Tree::Instance().Find(client));

        QVERIFY(server.restartServer());
        QCOMPARE(text("reset"_s)->GetValue(), server.getClientId().toString());
        Tree::Instance().Remove(base);
        QVERIFY(!server.restartServer());

        Server elsewhere("/Other"_s);
        QVERIFY(!elsewhere.init(path));
        QCOMPARE(elsewhere.taken(), "ready 0 addr"_s);
        QCOMPARE(elsewhere.getRecordMapBasePath(true), "/Other/RecordMapTree/S1"_s);
        Server nowhere((QString()));
        QVERIFY(!nowhere.init(QString()));
        QCOMPARE(nowhere.taken(), QString());
    }

    void everyValueCounts()
    {
        const QStringList bound = texts.mid(0, 9) + QStringList{"WorkingState"_s};
        for (const QString& missing : bound) {
            publish(5, missing);
            Server server;
            QVERIFY2(!server.init(path), qPrintable(missing));
            QVERIFY(server.taken().endsWith("ready 0 addr"_s));
            QVERIFY(!server.isReady());
            Tree::Instance().Clear();
        }
    }

    void statesInOrder()
    {
        publish(0);
        Server server;
        QVERIFY(server.init(path));
        QCOMPARE(server.taken(), "status |ready 1 addr"_s);
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
        text("Resources"_s)
            ->SetValue(RESOURCEMANAGEMENT::ResourceOverview().GetXmlString(), &server.getResourceObserver());
        text("ActualConfiguration"_s)
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
                publish(5, "ReplyResource"_s);
            Tree::Instance().Remove(node("Resources"_s));
            Server server;
            QCOMPARE(server.init(path), !nothing);
            if (qstrcmp(late, "away") == 0)
                Tree::Instance().Remove(base);
            TunerBookingManager& booking = server.getBookingManager();
            KoltaProductionControl& production = server.getProductionControl();
            const Startup::TraceRecorder traces;
            RESOURCEMANAGEMENT::ResourceOverview overview;
            overview.EditTuner().resize(1);
            overview.EditTuner()[0].EditTavikResource().SetGUID("t"_s);
            Tree::Instance().Emplace<StringValue>(node("Resources"_s), overview.GetXmlString());
            publish(5);
            QVERIFY(!nothing || server.init(path));
            QVERIFY2(booking.existsTuner("t"_s), late);
            QVERIFY(!production.requestProduction(RESOURCEMANAGEMENT::SCP(), false, QUuid()).isNull());
            QCOMPARE(traces.count("Could not initialize."_s), 0);
            Tree::Instance().Clear();
        }
    }

    void asksForCheapTransfer()
    {
        Startup::TraceRecorder traces;
        publish(5, "Resources"_s);
        Server server;
        server.init(path);
        QCOMPARE(traces.count("OPTIMIZATION"_s), 0);
        const Client client;
        server.init(path);
        QCOMPARE(client.paths, QStringList({"ReplyResource"_s, "ActualConfiguration"_s}));
        QCOMPARE(traces.count("CALLING SET OPTIMIZATION IN Kolta::KoltaServerInterface"_s), 1);
        QCOMPARE(traces.count("/ADMINISTRATION/Resources not yet available. cannot set optimization"_s), 1);
    }

    /// Another life: whole, or the working state alone; one that ends while it is bound; and one whose values
    /// come behind its working state, which takes the registry.
    void nextLife()
    {
        auto& tree = Tree::Instance();
        publish(5);
        Client client;
        Server server;
        QVERIFY(server.init(path));
        for (const QString& gone : {base, node("WorkingState"_s)}) {
            tree.Remove(gone);
            client.paths.clear();
            tree.Remove(node("HostName"_s));
            tree.Emplace<StringValue>(node("HostName"_s), gone);
            publish(5);
            QVERIFY(server.taken().endsWith("connected 1 addr|state 5 addr|ready 1 addr"_s));
            QCOMPARE(server.getHostname(), gone);
            QCOMPARE(client.paths, QStringList({"ReplyResource"_s, "Resources"_s, "ActualConfiguration"_s}));
        }
        tree.Remove(base);
        publish(5, "Quit"_s);
        QVERIFY(!server.isReady() && server.taken().endsWith("ready 0 addr"_s));

        publish(5);
        Server brief;
        const auto removal =
            connect(&brief, &KoltaServerInterface::si_StateChanged, [&tree] { tree.Remove(base); });
        QVERIFY(!brief.init(path) && !brief.isReady() && brief.taken().endsWith("ready 0 addr"_s));
        disconnect(removal);

        KoltaServerInterface* const known = KoltaServerRegistry::Instance().addServer("a:1"_s, path);
        QSignalSpy ready(known, &KoltaServerInterface::si_ConnectionReady);
        for (int life = 0; life < 3; ++life) {
            publish(5);
            QTRY_COMPARE(ready.value(0).value(0), QVariant(true));
            tree.Remove(base);
            ready.clear();
            tree.Emplace<SelectionValue>(node("WorkingState"_s), QMap<int, QString>{{5, "Up"_s}}, 5);
            QCOMPARE(ready.value(0).value(0), QVariant(false));
            ready.clear();
        }
    }

    void registryBindsWhenServersAppear()
    {
        auto& registry = KoltaServerRegistry::Instance();
        QSignalSpy added(&registry, &KoltaServerRegistry::si_ServerAdded);
        QSignalSpy removed(&registry, &KoltaServerRegistry::si_ServerRemoved);
        KoltaServerInterface* const first = registry.addServer("a:1"_s, base);
        QVERIFY(first);
        QCOMPARE(registry.addServer("a:1"_s, base), first);
        QVERIFY(!registry.addServer("b:1"_s, path)); // the same node
        QVERIFY(!first->isReady());
        registry.setDiscovery(true);
        publish(5);
        publish(5, QString(), "/ConnectManager/AdminTree/S2"_s);
        QTRY_COMPARE(registry.addresses(), QStringList({"a:1"_s, "S2"_s}));
        QVERIFY(first->isReady());
        QVERIFY(registry.server("S2"_s)->isReady());
        QCOMPARE(registry.serverAt(base), first);
        QCOMPARE(added.count(), 2);

        QVERIFY(registry.removeServer(registry.addresses().first())); // a text that goes with the server
        QVERIFY(!registry.removeServer("a:1"_s));
        QVERIFY(!registry.serverAt(base));
        delete registry.server("S2"_s); // an owner that does not ask
        QCOMPARE(removed.count(), 2);
        QVERIFY(registry.addresses().isEmpty());
    }

    void registryOutlivesRemovalInSlots()
    {
        auto& registry = KoltaServerRegistry::Instance();
        publish(5);
        const auto connection = connect(&registry, &KoltaServerRegistry::si_ServerAdded, this,
                                        [&](const QString& address) { registry.removeServer(address); });
        QVERIFY(!registry.addServer("a:1"_s, path));
        disconnect(connection);
        QVERIFY(registry.addServer("a:1"_s, path)->isReady());
    }
};

KOLTA_TEST(TestKoltaServerInterface);
#include "tst_koltaserverinterface.moc"
