#include "../values/probe.h"

#include <koltacommon/koltaexception.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/productionrequestreply.h>

#include <resourcemodel/requests.h>
#include <startup/cfgcenter.h>
#include <startup/errorhandler.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <memory>
#include <random>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;
using values::Tree;

namespace {

const QString base = QStringLiteral("/S1/ADMINISTRATION");
const QString requests = base + QStringLiteral("/RequestsNode");
const QString drivers = base + QStringLiteral("/ConnectionInfo/");
const char* const boundValues[] = {"/StopResource", "/stopAll", "/ReplyResource", "/StoppedResource"};

const QString a = QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}");
const QString b = QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-00000000000b}");
const QString noBraces = QStringLiteral("0F2D5C1E-6D0A-4A53-9C1B-00000000000A"); ///< a, written otherwise

/// Sets the value, and makes it when it is not there.
StringValue* put(const QString& path, const QString& text = QString())
{
    auto* const value = Tree::Instance().FindAs<StringValue>(path);
    if (!value || value->IsDeleted())
        return Tree::Instance().Emplace<StringValue>(path, text);
    values::WriteOrAnnounce(path, text);
    return value;
}

void publish()
{
    for (const char* name : boundValues)
        put(base + QLatin1String(name));
    Tree::Instance().EnsureNode(requests);
}

QString textAt(const QString& path)
{
    const auto* const value = Tree::Instance().FindAs<StringValue>(path);
    return value ? value->GetValue() : QString();
}

QStringList requestNames()
{
    const values::TreeItem* const node = Tree::Instance().Find(requests);
    return node ? node->GetChildNames() : QStringList();
}

template<class Processor>
Processor named(const char* name)
{
    Processor processor;
    processor.EditKoltaProcessor().EditTavikResource().SetDisplayName(QLatin1String(name));
    return processor;
}

template<class Processor>
Processor named(const char* name, const QString& productionID)
{
    auto processor = named<Processor>(name);
    processor.SetProductionID(productionID);
    return processor;
}

/// Deletes something as soon as a line is traced.
class Saboteur : public Startup::ITraceSink
{
public:
    explicit Saboteur(const QString& path) : m_path(path) { Startup::ErrorHandler::Instance().addSink(this); }
    ~Saboteur() override { Startup::ErrorHandler::Instance().removeSink(this); }
    void trace(const Startup::TraceRecord&) override { Tree::Instance().Remove(m_path); }

private:
    QString m_path;
};

/// What a look at every driver's node would find.
QString scannedPath(const QString& guid)
{
    const values::TreeItem* const node = Tree::Instance().Find(base + QStringLiteral("/ConnectionInfo"));
    for (const values::TreeItem* child : node ? node->GetChildren() : QVector<values::TreeItem*>()) {
        if (textAt(child->GetPath() + QStringLiteral("/Kolta_GUID")).compare(guid, Qt::CaseInsensitive) == 0)
            return child->GetPath();
    }
    return QString();
}

} // namespace

class TestKoltaProductionControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        publish();
        m_log.clear();
        m_control = std::make_unique<KoltaProductionControl>();
        m_control->init(base);
        hear(*m_control);
    }
    void cleanup()
    {
        m_control.reset();
        Tree::Instance().Clear();
        QCOMPARE(Tree::Instance().Size(), 0); // nothing stays behind for an observer that is not there
    }

    void replyTexts()
    {
        const QString cases[][2] = {
            {a + QStringLiteral("@1@"), a + QStringLiteral("@1@")},
            {QLatin1Char(' ') + noBraces + QStringLiteral(" @0@No @ 5%\n{x}"),
             a + QStringLiteral("@0@No @ 5%\n{x}")},
            {QLatin1Char('{') + noBraces + QStringLiteral("}@1@ok"), a + QStringLiteral("@1@ok")},
            {a + QStringLiteral("@1"), QString()},
            {a + QStringLiteral("@true@ok"), QString()},
            {a + QStringLiteral("@@ok"), QString()},
            {a + QStringLiteral("x@1@ok"), QString()},
            {QLatin1Char('{') + noBraces + QStringLiteral("@1@ok"), QString()},
            {QUuid().toString() + QStringLiteral("@1@ok"), QString()},
            {QStringLiteral("@1@ok"), QString()},
            {QStringLiteral("<Reply/>"), QString()}};
        for (const auto& [text, expected] : cases) {
            const auto reply = ProductionRequestReply::fromString(text);
            QCOMPARE(reply ? reply->toString() : QString(), expected);
        }
    }

    void productionRequests_data()
    {
        QTest::addColumn<std::function<QUuid(KoltaProductionControl&)>>("request");
        QTest::addColumn<QString>("xml"); // %1 stands for the GUID that was returned
        QTest::addColumn<QString>("id");  // the GUID that must be returned; empty for a fresh one
        const auto row = [](const char* name, std::function<QUuid(KoltaProductionControl&)> request,
                            const char* xml, const QString& id = QString()) {
            QTest::newRow(name) << std::move(request) << QString::fromLatin1(xml) << id;
        };
        using C = KoltaProductionControl;
        const char* const scpXml =
            "<RequestResource><RequestType>0</"
            "RequestType><SCP><KoltaProcessor><TavikResource><DisplayName>Al&amp;"
            "</DisplayName></TavikResource></KoltaProcessor><ProductionID>%1</ProductionID></SCP>"
            "<RequestName>Al&amp;</RequestName></RequestResource>";
        row(
            "SCP", [](C& c) { return c.requestProduction(named<SCP>("Al&", a)); }, scpXml);
        row(
            "SCP again", [](C& c) { return c.requestProduction(named<SCP>("Al&", noBraces), true); }, scpXml,
            a);
        row(
            "SCP without ID", [](C& c) { return c.requestProduction(named<SCP>("Al&"), true); }, scpXml);
        const char* const mcpXml =
            "<RequestResource><RequestType>0</RequestType><MCP><KoltaProcessor><TavikResource><DisplayName>B"
            "</DisplayName></TavikResource></KoltaProcessor><ProductionID>%1</ProductionID></MCP>"
            "<RequestName>B</RequestName></RequestResource>";
        row(
            "MCP again", [](C& c) { return c.requestProduction(named<MCP>("B", b), true, QUuid(a)); }, mcpXml,
            b);
        row(
            "MCP with bad ID",
            [](C& c) { return c.requestProduction(named<MCP>("B", QStringLiteral("none")), true); }, mcpXml);
        row(
            "FFP", [](C& c) { return c.requestProduction(named<FFP>("C"), true, QUuid(a)); },
            "<RequestResource><RequestType>0</RequestType><MCP><KoltaProcessor><TavikResource>"
            "<GUID>{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}</GUID><Name>Default</Name><DisplayName>Default"
            "</DisplayName><Address>Default</Address></TavikResource><DemandClassName>sw</DemandClassName>"
            "<LocalStorage>1</LocalStorage></KoltaProcessor><ProductionID>%1</ProductionID><DataSource>"
            "<TunerGUID>none</TunerGUID></DataSource><FFP><KoltaProcessor><TavikResource><DisplayName>C"
            "</DisplayName></TavikResource></KoltaProcessor></FFP></MCP><RequestName>C</RequestName>"
            "</RequestResource>");
        const char* const moveXml =
            "<RequestResource><RequestType>3</RequestType><SubjectGUID>{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}"
            "</SubjectGUID><DestinationGUID>{0f2d5c1e-6d0a-4a53-9c1b-00000000000b}</DestinationGUID>"
            "<RequestName>Move FFP</RequestName><RequestID>%1</RequestID></RequestResource>";
        row(
            "move", [](C& c) { return c.requestFFPMove(QUuid(a), QUuid(b)); }, moveXml);
        row(
            "move with ID", [](C& c) { return c.requestFFPMove(QUuid(a), QUuid(b), QUuid(a)); }, moveXml, a);
    }
    void productionRequests()
    {
        QFETCH(std::function<QUuid(KoltaProductionControl&)>, request);
        QFETCH(QString, xml);
        QFETCH(QString, id);
        Startup::TraceRecorder traces;
        const QUuid first = request(*m_control);
        const QUuid second = request(*m_control);
        QVERIFY(!first.isNull() && (first == second) == !id.isEmpty());
        QVERIFY(id.isEmpty() ? first != QUuid(a) : first == QUuid(id));

        const QStringList names = requestNames();
        QCOMPARE(names.size(), 2);
        for (int i = 0; i < 2; ++i) {
            const QString& name = names.at(i);
            const QUuid guid = i == 0 ? first : second;
            QCOMPARE(textAt(requests + QLatin1Char('/') + name), xml.arg(guid.toString()));
            QVERIFY(name.startsWith(QStringLiteral("id{")) && !QUuid(name.mid(2)).isNull());
            QCOMPARE(traces.count(QStringLiteral("Sending StopCommand for resource with GUID ") + name), 1);
        }
        const bool cannotReuse = QByteArray(QTest::currentDataTag()).contains("ID") && id.isEmpty();
        QCOMPARE(traces.count(QStringLiteral("Tried to reuse a Production GUID that has not been set.")),
                 cannotReuse ? 2 : 0);
    }

    void refusedRequests()
    {
        using C = KoltaProductionControl;
        const auto refused = [this](const std::function<QUuid(C&)>& request, const QString& text) {
            Startup::TraceRecorder traces;
            const bool isNull = request(*m_control).isNull();
            const Startup::TraceRecord last = traces.records().value(traces.records().size() - 1);
            QVERIFY(isNull);
            QVERIFY2(
                QRegularExpression(QRegularExpression::anchoredPattern(text)).match(last.text).hasMatch(),
                qPrintable(last.text));
            QCOMPARE(last.source, QStringLiteral("devicecontrol/kolta/koltacommon/koltaproductioncontrol"));
            QVERIFY(requestNames().isEmpty());
        };
        refused(
            [](C& c) { return c.requestProduction(FFP()); },
            QStringLiteral("ClientProductionControl::requestProduction: Invalid FFP Request - No MCP GUID "
                           "provided\\."));
        refused([](C& c) { return c.requestProduction(FHP(), true, QUuid(a)); },
                QStringLiteral("ClientProductionControl::requestProduction: Invalid IRGObject provided\\."));
        refused([](C& c) { return c.requestProduction(named<SCP>("\x01")); },
                QStringLiteral("ReportException Invalid object: .+"));
        refused([](C& c) { return c.requestFFPMove(QUuid(a), QUuid(), QUuid(a)); },
                QStringLiteral("ClientProductionControl::requestFFPMove: Error in building request xml: .+"));
        const auto move = [](C& c) { return c.requestFFPMove(QUuid(a), QUuid(b), QUuid(a)); };
        {
            const Saboteur saboteur(requests);
            refused(move, QStringLiteral(
                              "ERROR: Could not create value for production request\\. Value: "
                              "id\\{[0-9a-f-]{36}\\}\\. Request: <RequestResource>.*</RequestResource> "));
        }
        refused(move, QStringLiteral("m_pRequestResourceNode not set\\. no Request"));
        QVERIFY(Tree::Instance().Find(requests)->IsDeleted());
        const QString noNode = QStringLiteral("m_pRequestResourceNode not set\\. no Request");
        m_control = std::make_unique<KoltaProductionControl>();
        refused(move, noNode);
    }

    void serverThatReturns()
    {
        Startup::TraceRecorder traces;
        put(base + QStringLiteral("/ReplyResource"), a + QStringLiteral("@1@"));
        Tree::Instance().Remove(QStringLiteral("/S1"));
        m_control->StopProductions(QStringList{a, b});
        m_control->StopAllProductions();
        QVERIFY(m_control->requestFFPMove(QUuid(a), QUuid(b)).isNull());
        m_control->UpdateAll();
        QCOMPARE(traces.records().size(), 3);
        QVERIFY(Tree::Instance().Find(QStringLiteral("/S1"))->IsDeleted());

        publish();
        QVERIFY(!m_control->requestFFPMove(QUuid(a), QUuid(b)).isNull());
        QCOMPARE(requestNames().size(), 1);
        put(base + QStringLiteral("/ReplyResource"), a + QStringLiteral("@1@"));
        put(base + QStringLiteral("/StoppedResource"), noBraces);
        m_control->StopProduction(QUuid(b));
        QCOMPARE(textAt(base + QStringLiteral("/StopResource")), b);
        QCOMPARE(m_log, (QStringList{QStringLiteral("a1"), QStringLiteral("a1"), QStringLiteral("-a")}));
    }

    void initNeedsEverything()
    {
        QStringList paths{requests};
        for (const char* name : boundValues)
            paths.append(base + QLatin1String(name));
        for (const QString& path : qAsConst(paths)) {
            Tree::Instance().Remove(path); // a tombstone stays: the other control is bound to it
            KoltaProductionControl control;
            hear(control);
            Startup::TraceRecorder traces;
            try {
                control.init(base);
                QFAIL("nothing was thrown");
            } catch (const KoltaException& exception) {
                QCOMPARE(exception.text(), QStringLiteral("Could not initialize."));
                QCOMPARE(exception.what(), "Could not initialize.");
            }
            QCOMPARE(traces.count(QStringLiteral("Could not initialize.")), 1);
            const QStringList before = m_log;
            m_control->UpdateAll();
            publish();
            put(base + QStringLiteral("/StoppedResource"), a);
            QCOMPARE(m_log, before + QStringList(QStringLiteral("-a"))); // of the other control alone
            control.init(base);
            control.UpdateAll(); // what was there before is no news
            put(base + QStringLiteral("/StoppedResource"), b);
            QCOMPARE(m_log.size(), before.size() + 3);
        }
    }

    /// Steps: "=text" sets (or announces again), "x" deletes, "+text" brings back, "u" is UpdateAll().
    void notices_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("log");
        QTest::addColumn<int>("traced");
        const auto row = [](const char* name, const char* value, const char* steps, const char* log,
                            int traced) {
            QTest::newRow(name) << QString::fromLatin1(value) << QString::fromLatin1(steps)
                                << QString::fromLatin1(log) << traced;
        };
        row("reply", "ReplyResource", "=a@1@ u =b@0@why u", "a1 b0why", 0);
        row("reply announced again", "ReplyResource", "=a@1@ =a@1@ = u =a@1@", "a1 a1 a1", 0);
        row("reply that is none", "ReplyResource", "=junk u u =a@2@ =b@1@", "b1", 2);
        row("reply of a server that returns", "ReplyResource", "=a@1@ x u +a@1@ u =a@1@ x + =a@1@ x +b@1@",
            "a1 a1 a1 b1", 0);
        row("stopped", "StoppedResource", "=a u =A =b x u +b u +a", "-a -a -b -a", 0);
        row("stopped that is none", "StoppedResource",
            "=junk u = =aa =00000000-0000-0000-0000-000000000000 =b", "-b", 3);
    }
    void notices()
    {
        QFETCH(QString, value);
        QFETCH(QString, steps);
        QFETCH(QString, log);
        QFETCH(int, traced);
        const QString path = base + QLatin1Char('/') + value;
        Startup::TraceRecorder traces;
        for (const QString& step : steps.split(QLatin1Char(' '))) {
            QString text = step.mid(1);
            for (const auto& [letter, guid] :
                 {std::pair(QLatin1Char('a'), a), {QLatin1Char('b'), b}, {QLatin1Char('A'), noBraces}}) {
                if (text == letter || text.startsWith(QString(letter) + QLatin1Char('@')))
                    text.replace(0, 1, guid);
            }
            if (step == QLatin1String("x"))
                Tree::Instance().Remove(path);
            else if (step == QLatin1String("u"))
                m_control->UpdateAll();
            else
                put(path, text);
        }
        QCOMPARE(m_log.join(QLatin1Char(' ')), log);
        QCOMPARE(traces.records().size(), traced);
    }

    void stops()
    {
        QStringList written;
        Probe stop(&written);
        Probe stopAll(&written, QStringLiteral("all"));
        const QString path = base + QStringLiteral("/StopResource");
        stop.action = [&](Observable*, TChangeCode) { written.last() = letterOf(QUuid(textAt(path))); };
        Tree::Instance().Find(path)->Attach(&stop);
        Tree::Instance().Find(base + QStringLiteral("/stopAll"))->Attach(&stopAll);
        Startup::TraceRecorder traces;
        m_control->StopProductions(QStringList{a, noBraces, QStringLiteral("junk"), b});
        m_control->StopProductions(QList<QUuid>{QUuid(b), QUuid(), QUuid(a)});
        m_control->StopProduction(QUuid(a));
        m_control->StopAllProductions();
        m_control->StopAllProductions();
        QCOMPARE(written.join(QLatin1Char(' ')), QStringLiteral("a a b b a a all3 all3"));
        QCOMPARE(traces.records().size(), 2);
        QCOMPARE(textAt(path), a);
    }

    /// A server in the same process answers before the call returns, and the slot deletes the control.
    void slotsThatDelete()
    {
        const auto deleteAt = [this](auto signal) {
            m_control = std::make_unique<KoltaProductionControl>();
            m_control->init(base);
            connect(m_control.get(), signal, this, [this] { m_control.reset(); });
        };
        Probe server(&m_log);
        server.action = [](Observable*, TChangeCode) {
            put(base + QStringLiteral("/ReplyResource"), a + QStringLiteral("@1@"));
        };
        Tree::Instance().Find(requests)->Attach(&server);
        deleteAt(&KoltaProductionControl::si_ProductionRequestReplied);
        QVERIFY(!m_control->requestProduction(SCP()).isNull());
        QVERIFY(!m_control && requestNames().size() == 1);

        QStringList stopped;
        Probe stopper(&stopped);
        const QString stopPath = base + QStringLiteral("/StopResource");
        stopper.action = [&](Observable*, TChangeCode) {
            put(base + QStringLiteral("/StoppedResource"), textAt(stopPath));
        };
        Tree::Instance().Find(stopPath)->Attach(&stopper);
        deleteAt(&KoltaProductionControl::si_ProductionStopped);
        m_control->StopProductions(QStringList{a, b, a});
        QVERIFY(!m_control);
        QCOMPARE(stopped.size(), 3); // the others too

        deleteAt(&KoltaProductionControl::si_ProductionRequestReplied);
        for (const char* name : {"/ReplyResource", "/StoppedResource"}) {
            auto* const value = Tree::Instance().FindAs<StringValue>(base + QLatin1String(name));
            value->SetValue(b + QStringLiteral("@1@"), m_control.get()); // which does not hear of it
        }
        m_control->UpdateAll();
        QVERIFY(!m_control);
    }

    void driverInformation()
    {
        const auto tell = [](const char* child,
                             std::initializer_list<std::pair<const char*, QString>> values) {
            for (const auto& [name, text] : values)
                put(drivers + QLatin1String(child) + QLatin1Char('/') + QLatin1String(name), text);
        };
        const QString mcp = QStringLiteral("MCP");
        const QString task = QStringLiteral("task 1");
        QVERIFY(m_control->getDriverConnectionInfoPath(a).isEmpty()); // nothing there yet
        Tree::Instance().EnsureNode(drivers + QStringLiteral("empty"));
        tell("ffp", {{"taskID", task}, {"Processor_Type", QStringLiteral("FFP")}, {"Kolta_GUID", b}});
        tell("mcp", {{"Kolta_GUID", noBraces},
                     {"Processor_Type", mcp},
                     {"taskID", task},
                     {"vtconnection", QStringLiteral("10.0.0.1:1")},
                     {"settings", QStringLiteral("<S/>")},
                     {"ReservedTime", QStringLiteral("2030-01-01T00:00:00Z")},
                     {"Frequency", QStringLiteral("98.5e6")},
                     {"Bandwidth", QStringLiteral("200000")}});
        tell("twin", {{"Kolta_GUID", a},
                      {"Processor_Type", mcp},
                      {"taskID", task},
                      {"Frequency", QStringLiteral("1")}});
        tell("bad", {{"Kolta_GUID", QStringLiteral("none")},
                     {"Processor_Type", mcp},
                     {"taskID", QStringLiteral("bad")}});
        Tree::Instance().Emplace<values::SelectionValue>(drivers + QStringLiteral("odd/Kolta_GUID"),
                                                         QMap<int, QString>{{1, uuidC}, {2, a}}, 1);
        tell("odd", {{"Processor_Type", mcp},
                     {"Frequency", QStringLiteral("inf")},
                     {"Bandwidth", QStringLiteral("x")}});
        Tree::Instance().EnsureNode(drivers + QStringLiteral("odd/settings"));

        for (const QString& guid : {a, a.toUpper(), noBraces, QString(QLatin1Char(' ') + noBraces)}) {
            QCOMPARE(m_control->getDriverConnectionInfoPath(guid), drivers + QStringLiteral("mcp"));
            QCOMPARE(m_control->requestTunerProperties(guid), QStringLiteral("<S/>"));
            QCOMPARE(m_control->getTaskIDForGuid(guid), task);
            QCOMPARE(m_control->getTaskReservedTimeForGuid(guid), QStringLiteral("2030-01-01T00:00:00Z"));
        }
        for (const QString& guid : {QString(), QStringLiteral("none"), QUuid().toString(), QString(a + a)})
            QVERIFY(m_control->getDriverConnectionInfoPath(guid).isEmpty());
        QVERIFY(m_control->requestTunerProperties(uuidC).isEmpty()); // no value there, but a node
        QCOMPARE(m_control->getMcpGuidForTaskID(task), noBraces);
        QVERIFY(m_control->getMcpGuidForTaskID(QString()).isEmpty());
        QVERIFY(m_control->getMcpGuidForTaskID(QStringLiteral("bad")).isEmpty());

        const QHash<QUuid, FrequencyRange> ranges = m_control->getFrequencyRangesOfAllMCPs();
        QCOMPARE(ranges.size(), 2);
        QCOMPARE(ranges.value(QUuid(a)).frequency, 98.5e6);
        QCOMPARE(ranges.value(QUuid(a)).bandwidth, 200000.0);
        QCOMPARE(ranges.value(QUuid(uuidC)).frequency + ranges.value(QUuid(uuidC)).bandwidth, 0.0);

        QString type = mcp;
        QString address = task;
        QVERIFY(!m_control->getDriverTypeAndAddress(uuidC, type, address)); // it has no address
        QVERIFY(!m_control->getDriverTypeAndAddress(QString(), type, address));
        QVERIFY(type == mcp && address == task);
    }

    /// Drivers come, change and go at random; the index must always say what a scan would.
    void lookUpsWhileDriversComeAndGo()
    {
        const auto seed = std::random_device{}();
        qInfo("seed %u", seed);
        std::mt19937 random(seed);
        QStringList ignored;
        Probe keeper(&ignored); // some values are tombstones when they go
        const QString guids[] = {a, b, uuidC, QStringLiteral("none")};
        const auto any = [&random](int below) {
            return static_cast<int>(random() % static_cast<unsigned>(below));
        };
        for (int step = 0; step < 2000; ++step) {
            const QString child = drivers + QString::number(any(5));
            const QString path = child + QStringLiteral("/Kolta_GUID");
            switch (any(6)) {
            case 0:
                Tree::Instance().Remove(child);
                break;
            case 1:
                Tree::Instance().Remove(any(20) == 0 ? base : path);
                break;
            case 2:
                if (auto* const item = Tree::Instance().Find(path))
                    item->Attach(&keeper);
                break;
            case 3:
                put(child + QStringLiteral("/settings"));
                break;
            default:
                put(path, guids[any(4)]);
                break;
            }
            for (const QString& guid : {a, b, uuidC})
                QCOMPARE(m_control->getDriverConnectionInfoPath(guid), scannedPath(guid));
        }
    }

    void frontEnds()
    {
        QTemporaryDir folder;
        const QString data = QFileInfo(folder.path()).canonicalFilePath();
        Startup::CfgCenter::Instance().Open(data + QStringLiteral("/kolta.ini"));
        Startup::AdministratorConfiguration::Instance().SetValue(QStringLiteral("TavikDataDir"), data);
        const auto started = [&data] {
            QFile file(data + QStringLiteral("/started"));
            const QString text =
                file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
            file.remove();
            return text;
        };
        const auto tell = [](const QString& type) {
            put(drivers + QStringLiteral("d/Kolta_GUID"), a);
            put(drivers + QStringLiteral("d/Processor_Type"), type);
            put(drivers + QStringLiteral("d/vtconnection"), QStringLiteral("10.0.0.1:1 x"));
        };
        const QString programs = QCoreApplication::applicationDirPath();

        tell(QStringLiteral("MCP"));
        QString type;
        QString executable;
        QStringList arguments;
        QString directory;
        QVERIFY(!m_control->findGuiStartParameters(QUuid(), executable, arguments, directory, &type));
        QVERIFY(!m_control->findGuiStartParameters(QUuid(b), executable, arguments, directory));
        QVERIFY(executable.isNull() && type.isNull());
        QVERIFY(m_control->findGuiStartParameters(QUuid(a), executable, arguments, directory, &type));
        QCOMPARE(executable, programs + QStringLiteral("/MCP.exe"));
        QCOMPARE(type, QStringLiteral("MCP"));

        QObject parent;
        QProcess* const process = m_control->startGUI(noBraces, &parent);
        QVERIFY(process && process->parent() == &parent && process->state() == QProcess::Running);
        process->write("from the console\n");
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->exitCode(), 7);
        QVERIFY(process->readAllStandardOutput().isEmpty());
        QCOMPARE(started(),
                 data + QStringLiteral("\nServer\nMessageDialog\nCon:10.0.0.1:1 x\nfrom the console\n"));

        // Nobody installed the starter yet.
        Startup::TraceRecorder traces;
        const QString starter = programs + QStringLiteral("/TavikGuiStarter.exe");
        QFile::remove(starter);
        QVERIFY(!m_control->startGUIdetached(a));
        QVERIFY(QFile::copy(executable, starter));
        QVERIFY(!m_control->startGUIdetached(b));
        QCOMPARE(traces.records().size(), 2);
        QVERIFY(m_control->startGUIdetached(a));
        QTRY_VERIFY(QFile::exists(data + QStringLiteral("/started")));
        QCOMPARE(started(), data + QStringLiteral("\nMCP\n10.0.0.1:1 x\n\n"));
        const QString group = QStringLiteral("ProductionControl");
        Startup::CfgCenter::Instance().SetValue(group, QStringLiteral("GuiStarterArguments"),
                                                QStringList{QStringLiteral("--at"), QStringLiteral("%2")});
        QVERIFY(m_control->startGUIdetached(a));
        QTRY_VERIFY(QFile::exists(data + QStringLiteral("/started")));
        QCOMPARE(started(), data + QStringLiteral("\n--at\n10.0.0.1:1 x\n\n"));
        QFile::remove(starter);

        traces.clear();
        for (const QString& missing : {QStringLiteral("SCP"), QStringLiteral("../tests/MCP"), QString()}) {
            tell(missing);
            QVERIFY(!m_control->startGUI(a, &parent));
        }
        tell(QStringLiteral("MCP"));
        Startup::AdministratorConfiguration::Instance().SetValue(QStringLiteral("TavikDataDir"),
                                                                 data + QStringLiteral("/none"));
        QVERIFY(!m_control->startGUI(a, &parent));
        QCOMPARE(traces.records().size(), 4);
        QCOMPARE(parent.children().size(), 1); // nothing is left of those that failed
    }

private:
    const QString uuidC = QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-00000000000c}");

    static QString letterOf(const QUuid& guid)
    {
        return guid == QUuid(a)   ? QStringLiteral("a")
               : guid == QUuid(b) ? QStringLiteral("b")
                                  : guid.toString();
    }

    /// Replies are logged as "<letter><accepted><text>", stopped productions as "-<letter>".
    void hear(KoltaProductionControl& control)
    {
        connect(&control, &KoltaProductionControl::si_ProductionRequestReplied, this,
                [this](const QUuid& guid, bool accepted, const QString& text) {
                    m_log << letterOf(guid) + QString::number(accepted) + text;
                });
        connect(&control, &KoltaProductionControl::si_ProductionStopped, this,
                [this](const QUuid& guid) { m_log << QLatin1Char('-') + letterOf(guid); });
    }

    std::unique_ptr<KoltaProductionControl> m_control;
    QStringList m_log;
};

Q_DECLARE_METATYPE(std::function<QUuid(KoltaProductionControl&)>)

QTEST_GUILESS_MAIN(TestKoltaProductionControl)
#include "tst_koltaproductioncontrol.moc"
