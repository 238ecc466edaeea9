#include <support/probe.h>
#include <support/signalrecorder.h>
#include <support/test.h>

#include <koltacommon/koltaexception.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/productionrequestreply.h>

#include <resourcemodel/requests.h>
#include <startup/cfgcenter.h>

#include <random>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;
using values::Tree;

namespace {

const QString base = "/S1/ADMINISTRATION"_s;
const QString requests = base + "/RequestsNode"_s;
const QString stop = base + "/StopResource"_s;
const QString stopAll = base + "/stopAll"_s;
const QString reply = base + "/ReplyResource"_s;
const QString stopped = base + "/StoppedResource"_s;
const QString drivers = base + "/ConnectionInfo/"_s;

const QString a = "{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}"_s;
const QString b = "{0f2d5c1e-6d0a-4a53-9c1b-00000000000b}"_s;
const QString c = "{0f2d5c1e-6d0a-4a53-9c1b-00000000000c}"_s;
const QString plainA = "0F2D5C1E-6D0A-4A53-9C1B-00000000000A"_s;

/// Writes as a server or client does; makes the value when it is not there.
void put(const QString& path, const QString& text = QString())
{
    if (!values::WriteOrAnnounce(path, text))
        Tree::Instance().Emplace<StringValue>(path, text);
}

void publish()
{
    for (const QString& path : {stop, stopAll, reply, stopped})
        put(path);
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
Processor named(const QString& productionID = QString())
{
    Processor processor;
    processor.EditKoltaProcessor().EditTavikResource().SetDisplayName("Alpha"_s);
    if constexpr (!std::is_same_v<Processor, FFP>)
        processor.SetProductionID(productionID);
    return processor;
}

/// Deletes the request node while a line is traced.
struct Saboteur : Startup::ITraceSink
{
    Saboteur() { Startup::ErrorHandler::Instance().addSink(this); }
    ~Saboteur() override { Startup::ErrorHandler::Instance().removeSink(this); }
    void trace(const Startup::TraceRecord&) override { Tree::Instance().Remove(requests); }
};

/// What a look at every driver finds.
QString scannedPath(const QString& guid)
{
    const values::TreeItem* const node = Tree::Instance().Find(base + "/ConnectionInfo"_s);
    for (const values::TreeItem* child : node ? node->GetChildren() : QVector<values::TreeItem*>()) {
        if (textAt(child->GetPath() + "/Kolta_GUID"_s) == guid)
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
        m_recorder.taken();
        m_control = std::make_unique<KoltaProductionControl>();
        m_control->init(base);
        hear(*m_control);
    }
    void cleanup()
    {
        m_control.reset();
        Tree::Instance().Clear();
        QCOMPARE(Tree::Instance().Size(), 0); // no tombstone for an observer that has gone
    }

    void replyTexts()
    {
        const QString cases[][2] = {{a + "@1@"_s, a + "@1@"_s},
                                    {" %1 @0@No @ 5%\n{x}"_s.arg(plainA), a + "@0@No @ 5%\n{x}"_s},
                                    {"{%1}@1@ok"_s.arg(plainA), a + "@1@ok"_s},
                                    {a + "@1"_s, QString()},
                                    {a + "@true@ok"_s, QString()},
                                    {a + "x@1@ok"_s, QString()},
                                    {"{%1@1@ok"_s.arg(plainA), QString()},
                                    {QUuid().toString() + "@1@ok"_s, QString()}};
        for (const auto& [text, expected] : cases) {
            const auto record = ProductionRequestReply::fromString(text);
            QCOMPARE(record ? record->toString() : QString(), expected);
        }
    }

    void requestsInTheTree()
    {
        const QString request = "<RequestResource><RequestType>%1</RequestType>%2</RequestResource>"_s;
        const QString alpha = "<DisplayName>Alpha</DisplayName></TavikResource>"_s;
        const QString production = "<%1><KoltaProcessor><TavikResource>"_s + alpha +
                                   "</KoltaProcessor><ProductionID>~</ProductionID></%1>"
                                   "<RequestName>Alpha</RequestName>"_s;
        const QString scp = request.arg(0).arg(production.arg("SCP"_s));
        const QString mcp = request.arg(0).arg(production.arg("MCP"_s));
        MCP holder;
        ProcessorConverter::setupDefaultMCP(holder);
        holder.EditKoltaProcessor().EditTavikResource().SetGUID(c);
        holder.SetProductionID("~"_s);
        holder.EditFFP().append(named<FFP>());
        const QString ffp = request.arg(0).arg(holder.GetXmlString() + "<RequestName>Alpha</RequestName>"_s);
        const QString move =
            request.arg(3).arg("<SubjectGUID>%1</SubjectGUID><DestinationGUID>%2</DestinationGUID>"
                               "<RequestName>Move FFP</RequestName><RequestID>~</RequestID>"_s.arg(a, b));
        const auto check = [](const QUuid& guid, const QString& xml, const QString& returned = QString()) {
            QVERIFY(returned.isEmpty() ? !guid.isNull() && guid != QUuid(a) : guid == QUuid(returned));
            QCOMPARE(requestNames().size(), 1);
            const QString path = requests + "/"_s + requestNames().constFirst();
            QVERIFY(path.startsWith(requests + "/id{"_s) && !QUuid(path.right(38)).isNull());
            QCOMPARE(textAt(path), QString(xml).replace(QLatin1Char('~'), guid.toString()));
            Tree::Instance().Remove(path);
        };
        Startup::TraceRecorder traces;
        check(m_control->requestProduction(named<SCP>(a)), scp);
        check(m_control->requestProduction(named<SCP>(plainA), true), scp, a);
        check(m_control->requestProduction(named<MCP>(b), true, QUuid(c)), mcp, b);
        check(m_control->requestProduction(named<FFP>(), true, QUuid(c)), ffp);
        check(m_control->requestFFPMove(QUuid(a), QUuid(b)), move);
        check(m_control->requestFFPMove(QUuid(a), QUuid(b), QUuid(c)), move, c);
        QCOMPARE(traces.count("Sending StopCommand for resource with GUID id{"_s), traces.records().size());
        check(m_control->requestProduction(named<SCP>(), true), scp);
        check(m_control->requestProduction(named<MCP>(a + a), true), mcp);
        QCOMPARE(traces.count("Tried to reuse a Production GUID that has not been set."_s), 2);
    }

    void refusedRequests()
    {
        const auto move = [this] { return m_control->requestFFPMove(QUuid(a), QUuid(b)); };
        SCP unwritable;
        unwritable.EditDataSource().SetTunerGUID("\x01"_s);
        Startup::TraceRecorder traces;
        QVERIFY(m_control->requestProduction(FFP()).isNull());
        QVERIFY(m_control->requestProduction(FHP(), true, QUuid(a)).isNull());
        QVERIFY(m_control->requestProduction(unwritable).isNull());
        QVERIFY(m_control->requestFFPMove(QUuid(a), QUuid(), QUuid(a)).isNull());
        {
            const Saboteur saboteur;
            QVERIFY(move().isNull());
        }
        QVERIFY(move().isNull());
        Tree::Instance().Remove(stop);
        m_control->StopProduction(QUuid(a));
        for (const QString& gone : {requests, stop}) // and not brought back by the attempt
            QVERIFY(Tree::Instance().Find(gone)->IsDeleted());
        for (const char* const text :
             {"Invalid FFP Request - No MCP GUID provided.", "Invalid IRGObject provided.",
              "ReportException Invalid object: ", "requestFFPMove: Error in building request xml: ",
              "Sending StopCommand for resource with GUID id{",
              "ERROR: Could not create value for production request. Value: id{",
              "m_pRequestResourceNode not set. no Request", "/StopResource. Nothing was stopped"})
            QVERIFY2(traces.count(QLatin1String(text)) == 1, text);
        QCOMPARE(traces.records().size(), 8);
    }

    void initNeedsEverything()
    {
        for (const QString& path : {stop, stopAll, reply, stopped, requests}) {
            Tree::Instance().Remove(path); // a tombstone stays, for m_control
            KoltaProductionControl control;
            hear(control);
            Startup::TraceRecorder traces;
            QVERIFY_EXCEPTION_THROWN(control.init(base), KoltaException);
            QCOMPARE(traces.count("Could not initialize."_s), 1);
            publish();
            m_recorder.taken();
            put(stopped, a);
            QCOMPARE(m_recorder.lines().size(), 1); // m_control has heard it, the other is bound to nothing
            control.init(base);
            control.UpdateAll(); // what was there before is no news
            put(stopped, b);
            QCOMPARE(m_recorder.lines().size(), 3);
        }
    }

    /// Steps: "=text" writes, also into a value that is not there; "x" deletes it; "u" is UpdateAll().
    void notices()
    {
        const struct
        {
            QString path;
            const char* steps;
            const char* log;
            int traced;
        } cases[] = {{reply, "=a@1@ u =b@0@why u", "a1 b0why", 0},
                     {reply, "=a@1@ =a@1@ = u =a@1@", "a1 a1 a1", 0},
                     {reply, "=junk u u =a@2@ =b@1@", "b1", 2},
                     {reply, "=a@1@ x u =a@1@ u =a@1@ x = =a@1@ x =b@1@", "a1 a1 a1 b1", 0},
                     {stopped, "=a u =A =b x u =b u =a", "-a -a -b -a", 0},
                     {stopped, "=junk u = =aa =00000000-0000-0000-0000-000000000000 =b", "-b", 3}};
        for (const auto& row : cases) {
            cleanup();
            init();
            Startup::TraceRecorder traces;
            for (const QString& step : QString::fromLatin1(row.steps).split(QLatin1Char(' '))) {
                const QString name = step.mid(1).section(QLatin1Char('@'), 0, 0);
                const QHash<QString, QString> guids{{"a"_s, a}, {"b"_s, b}, {"A"_s, plainA}};
                if (step == "x"_s)
                    Tree::Instance().Remove(row.path);
                else if (step == "u"_s)
                    m_control->UpdateAll();
                else
                    put(row.path, guids.value(name, name) + step.mid(1 + name.size()));
            }
            QCOMPARE(m_recorder.log(), QLatin1String(row.log));
            QCOMPARE(traces.records().size(), row.traced);
        }
    }

    void stops()
    {
        QStringList written;
        Probe stopProbe(&written);
        Probe stopAllProbe(&written, "all"_s);
        stopProbe.action = [&](Observable*, TChangeCode) { written.last() = letterOf(QUuid(textAt(stop))); };
        Tree::Instance().Find(stop)->Attach(&stopProbe);
        Tree::Instance().Find(stopAll)->Attach(&stopAllProbe);
        Startup::TraceRecorder traces;
        m_control->StopProductions(QStringList{a, plainA, "junk"_s, b});
        m_control->StopProductions(QList<QUuid>{QUuid(b), QUuid(), QUuid(a)});
        m_control->StopProduction(QUuid(a));
        m_control->StopAllProductions();
        m_control->StopAllProductions();
        QCOMPARE(written.join(QLatin1Char(' ')), "a a b b a a all3 all3"_s);
        QCOMPARE(traces.records().size(), 2);
        QCOMPARE(textAt(stop), a);
    }

    /// A server in the same process answers before the call returns, and the slot deletes the control.
    void slotsThatDelete()
    {
        const auto deleteAt = [this](auto signal) {
            m_control = std::make_unique<KoltaProductionControl>();
            m_control->init(base);
            connect(m_control.get(), signal, this, [this] { m_control.reset(); });
        };
        QStringList codes;
        Probe server(&codes);
        server.action = [](Observable*, TChangeCode) { put(reply, a + "@1@"_s); };
        Tree::Instance().Find(requests)->Attach(&server);
        deleteAt(&KoltaProductionControl::si_ProductionRequestReplied);
        QVERIFY(!m_control->requestProduction(SCP()).isNull());
        QVERIFY(!m_control);

        QStringList heard;
        Probe stopper(&heard);
        stopper.action = [](Observable*, TChangeCode) { put(stopped, textAt(stop)); };
        Tree::Instance().Find(stop)->Attach(&stopper);
        deleteAt(&KoltaProductionControl::si_ProductionStopped);
        m_control->StopProductions(QStringList{a, b, a});
        QVERIFY(!m_control);
        QCOMPARE(heard.size(), 3); // the others too
    }

    void driverInformation()
    {
        tell("ffp taskID=t Processor_Type=FFP Kolta_GUID="_s + b);
        tell(
            "mcp Processor_Type=MCP taskID=t settings=<S/> ReservedTime=2030 Frequency=98.5e6 Kolta_GUID="_s +
            plainA);
        tell("twin Processor_Type=MCP taskID=t Frequency=1 Kolta_GUID="_s + a);
        tell("bad Processor_Type=MCP taskID=bad Kolta_GUID=none"_s);
        tell("odd Processor_Type=MCP Frequency=inf Bandwidth=x"_s);
        Tree::Instance().Emplace<values::SelectionValue>(drivers + "odd/Kolta_GUID"_s,
                                                         QMap<int, QString>{{1, c}, {2, a}}, 1);
        Tree::Instance().EnsureNode(drivers + "odd/settings"_s);

        for (const QString& guid : {a, a.toUpper(), plainA})
            QCOMPARE(m_control->getDriverConnectionInfoPath(guid), drivers + "mcp"_s);
        QCOMPARE(m_control->requestTunerProperties(a), "<S/>"_s);
        QCOMPARE(m_control->getTaskIDForGuid(a), "t"_s);
        QCOMPARE(m_control->getTaskReservedTimeForGuid(a), "2030"_s);
        for (const QString& guid : {QString(), "none"_s, QUuid().toString(), a.repeated(2)})
            QVERIFY(m_control->getDriverConnectionInfoPath(guid).isEmpty());
        QVERIFY(m_control->requestTunerProperties(c).isEmpty()); // a node, no value
        QCOMPARE(m_control->getMcpGuidForTaskID("t"_s), plainA);
        for (const QString& id : {QString(), "bad"_s})
            QVERIFY(m_control->getMcpGuidForTaskID(id).isEmpty());

        const QHash<QUuid, FrequencyRange> ranges = m_control->getFrequencyRangesOfAllMCPs();
        QCOMPARE(ranges.size(), 2);
        QCOMPARE(ranges[QUuid(a)].frequency, 98.5e6);
        QCOMPARE(ranges[QUuid(c)].frequency + ranges[QUuid(c)].bandwidth, 0.0);

        QString type = a;
        QVERIFY(!m_control->getDriverTypeAndAddress(c, type, type) &&
                type == a); // it does not tell its address
    }

    /// The index must always say what a scan would, whatever comes, changes and goes.
    void lookUpsWhileDriversComeAndGo()
    {
        std::mt19937 random(testSeed());
        const auto any = [&random](unsigned below) { return static_cast<int>(random() % below); };
        QStringList ignored;
        Probe keeper(&ignored); // some values leave tombstones
        const QString texts[] = {a, b, c, "none"_s};
        for (int step = 0; step < 2000; ++step) {
            const QString child = drivers + QString::number(any(5));
            const QString path = child + "/Kolta_GUID"_s;
            const int action = any(30);
            values::TreeItem* const item = Tree::Instance().Find(path);
            if (action < 12)
                Tree::Instance().Remove(action == 0 ? base : action < 6 ? child : path);
            else if (action < 15 && item)
                item->Attach(&keeper);
            else
                put(path, texts[any(4)]);
            for (const QString& guid : {a, b, c})
                QCOMPARE(m_control->getDriverConnectionInfoPath(guid), scannedPath(guid));
        }
    }

    void frontEnds()
    {
        auto& administrator = Startup::AdministratorConfiguration::Instance();
        auto& configuration = Startup::CfgCenter::Instance();
        QTemporaryDir folder;
        const QString data = folder.path();
        configuration.Open(data + "/kolta.ini"_s);
        administrator.SetValue("TavikDataDir"_s, data);
        const QString starter = QCoreApplication::applicationDirPath() + "/TavikGuiStarter.exe"_s;
        const QString mcp = QCoreApplication::applicationDirPath() + "/MCP.exe"_s;
        QFile note(data + "/started"_s);
        const auto started = [&note] {
            note.open(QIODevice::ReadOnly);
            QString text = QString::fromUtf8(note.readAll());
            note.remove();
            return text;
        };
        const auto driver = [](const QString& type) {
            tell("d vtconnection=10.0.0.1:1~x Kolta_GUID=%1 Processor_Type=%2"_s.arg(a, type));
        };
        driver("MCP"_s);
        QObject parent;
        QProcess* const process = m_control->startGUI(plainA, &parent);
        QVERIFY(process && process->parent() == &parent && process->state() == QProcess::Running);
        process->write("from the console\n");
        QVERIFY(process->waitForFinished(kPatienceMs) && process->exitCode() == 7);
        QCOMPARE(started(), data + "\nServer\nMessageDialog\nCon:10.0.0.1:1 x\nfrom the console\n"_s);

        Startup::TraceRecorder traces;
        QFile::remove(starter); // nobody has installed it
        QVERIFY(!m_control->startGUIdetached(a));
        QVERIFY(QFile::copy(mcp, starter));
        for (const QString& expected : {"\nMCP\n10.0.0.1:1 x\n\n"_s, "\n--at\n10.0.0.1:1 x\n\n"_s}) {
            QVERIFY(m_control->startGUIdetached(a));
            QTRY_VERIFY(note.exists());
            QCOMPARE(started(), data + expected);
            configuration.SetValue("ProductionControl"_s, "GuiStarterArguments"_s,
                                   QStringList{"--at"_s, "%2"_s});
        }
        QFile::remove(starter);

        for (const QString& missing : {"SCP"_s, "../tests/MCP"_s, "MCP.exe\0"_s, QString()}) {
            driver(missing);
            QVERIFY(!m_control->startGUI(a, &parent));
        }
        driver("MCP"_s);
        administrator.SetValue("TavikDataDir"_s, data + "/none"_s);
        QVERIFY(!m_control->startGUI(a, &parent));
        QVERIFY(!m_control->startGUIdetached(b));
        QCOMPARE(traces.records().size(), 7);
        QCOMPARE(parent.children().size(), 1); // nothing is left of those that failed
    }

private:
    static QString letterOf(const QUuid& guid) { return QString(guid.toString().at(36)); }
    /// "child name=value name=value…"; "~" stands for a blank in a value.
    static void tell(const QString& text)
    {
        const QStringList words = text.split(QLatin1Char(' '));
        for (const QString& word : words.mid(1)) {
            const QString name = word.section(QLatin1Char('='), 0, 0);
            put(drivers + words.first() + QLatin1Char('/') + name,
                word.mid(name.size() + 1).replace(QLatin1Char('~'), QLatin1Char(' ')));
        }
    }

    /// Replies are logged as "<letter><accepted><text>", stopped productions as "-<letter>".
    void hear(KoltaProductionControl& control)
    {
        m_recorder.write<QUuid>(&letterOf);
        m_recorder.write<bool>([](bool state) { return QString::number(state); });
        m_recorder.hear(control,
                        {{"si_ProductionRequestReplied", "%1%2%3"_s}, {"si_ProductionStopped", "-%1"_s}});
    }

    std::unique_ptr<KoltaProductionControl> m_control;
    SignalRecorder m_recorder;
};

KOLTA_TEST(TestKoltaProductionControl);
#include "tst_koltaproductioncontrol.moc"
