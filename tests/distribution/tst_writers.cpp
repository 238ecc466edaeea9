#include <distribution/memorycarrier.h>
#include <distribution/treelink.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/tavikresourceconverter.h>
#include <koltacommon/tunerclassesobserver.h>

#include <startup/errorhandler.h>

#include <support/rows.h>
#include <support/text.h>

#include <QtTest>

using namespace distribution;
using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString root = "/ConnectManager/AdminTree/S1"_s;

QString at(const QString& name)
{
    return root + "/ADMINISTRATION/"_s + name;
}

/// A process: a tree and its link.
struct Process : values::ITreeListener
{
    Process(values::Tree& ofProcess, MemoryBroker& broker, const char* user) : tree(ofProcess)
    {
        options.mqtt.address.user = user;
        options.beatMs = 50;
        options.graceMs = options.deathGraceMs = 2000;
        options.wishTimeoutMs = 4000;
        carriers = [this, &broker] {
            auto made = std::make_unique<MemoryCarrier>(broker);
            carrier = made.get();
            return made;
        };
        tree.AddListener(this);
        join();
    }
    ~Process() override
    {
        tree.RemoveListener(this);
        link.reset();
        tree.Clear();
    }
    void join() { link = std::make_unique<TreeLink>(tree, carriers, options); }
    void publish()
    {
        link->publish("S1"_s, {root}, at("WorkingState"_s),
                      std::make_unique<ServerPolicy>(root + "/ADMINISTRATION"_s));
    }
    void waitForServer() { QVERIFY(link->waitForLive({"S1"_s}, 8000)); }
    StringValue* value(const QString& name) const { return tree.FindAs<StringValue>(at(name)); }
    QString text(const QString& name) const { return value(name) ? value(name)->GetValue() : QString(); }

    void OnItemAdded(values::TreeItem&) override {}
    void OnItemRemoved(values::TreeItem&) override {}
    void OnItemChanged(values::TreeItem&, TChangeCode, IObserver*) override {}
    void OnWishFailed(const QString&, values::WishFailure failure, const QString&) override
    {
        failures.append(int(failure));
    }

    values::Tree& tree;
    LinkOptions options;
    TreeLink::CarrierFactory carriers;
    MemoryCarrier* carrier = nullptr; ///< the last one
    QVector<int> failures;
    std::unique_ptr<TreeLink> link;
};

/// What another process writes by the same rule.
template<class Overview>
struct TextWriter : IObserver, WholeTextWriter
{
    void write(StringValue* value, const std::function<void(Overview&)>& change)
    {
        Overview overview;
        overview.SetXmlString(value->GetValue(), false);
        change(overview);
        writeText(*value, overview.GetXmlString(), this);
    }
    void Update(Observable*, TChangeCode) override {}
    QString mergeTexts(const QString& before, const QString& mine, const QString& valid) const override
    {
        return mergeTextsOf<Overview>(before, mine, valid);
    }
};

HWProcessing entry(const QString& guid)
{
    HWProcessing result;
    result.SetGUID(guid);
    return result;
}

QString listOf(const QStringList& guids)
{
    HWProcessingOverview list;
    for (const QString& guid : guids)
        list.EditHWProcessing().append(entry(guid));
    return list.GetXmlString();
}

QStringList guidsIn(const QString& text)
{
    HWProcessingOverview list;
    TavikXmlHelpers::parseResourceManagementObject(list, text); // there may be none
    QStringList guids;
    for (const HWProcessing& item : list.GetHWProcessing())
        guids.append(item.GetGUID());
    guids.sort();
    return guids;
}

TunerClass tunerClass(const QString& guid)
{
    TunerClass result;
    result.SetGUID(guid);
    result.SetName(guid);
    return result;
}

Tuner tuner(const QString& guid)
{
    Tuner result;
    result.EditTavikResource().SetGUID(guid);
    return result;
}

const QString hardware = "HardwareProcessing"_s;
const QString classes = "TunerClasses"_s;
const QString resources = "Resources"_s;

} // namespace

/// Several processes that write the same texts as a whole.
class TestWriters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_broker = std::make_unique<MemoryBroker>();
        m_clock.start();
        m_pump = std::make_unique<QTimer>();
        connect(m_pump.get(), &QTimer::timeout, [this] { m_broker->Advance(m_clock.elapsed()); });
        m_pump->start(1);
        m_server = std::make_unique<Process>(m_serverTree, *m_broker, "server");
        TunerClassOverview hierarchy;
        hierarchy.EditTunerClass() = {tunerClass("c"_s), tunerClass("old"_s)};
        hierarchy.EditTunerClass()[0].EditTunerID() = {"t1"_s, "t2"_s};
        ResourceOverview overview;
        overview.EditTuner() = {tuner("t"_s), tuner("old"_s)};
        overview.SetNumberOfTuners(2);
        m_serverTree.Emplace<StringValue>(at(hardware), listOf({"old"_s}));
        m_serverTree.Emplace<StringValue>(at(classes), hierarchy.GetXmlString());
        m_serverTree.Emplace<StringValue>(at(resources), overview.GetXmlString());
        m_serverTree.Emplace<values::SelectionValue>(at("WorkingState"_s), QMap<int, QString>{{5, "Up"_s}},
                                                     5);
        m_server->publish();
        m_mine = std::make_unique<Process>(values::Tree::Instance(), *m_broker, "me");
        m_other = std::make_unique<Process>(m_otherTree, *m_broker, "other");
        for (Process* const process : {m_mine.get(), m_other.get()})
            process->link->mirror({"*"_s});
        for (Process* const process : {m_mine.get(), m_other.get()})
            process->waitForServer();
        m_observer = std::make_unique<HardwareProcessingObserver>(at(hardware));
    }
    void cleanup()
    {
        m_observer.reset();
        m_other.reset();
        m_mine.reset();
        m_server.reset();
        m_pump.reset();
    }

    void bothAtOnce_data()
    {
        QTest::addColumn<bool>("isFirst");
        addRow("first", true);
        addRow("second", false);
    }
    /// Whoever is faster, both changes last, in any of the texts; the slower one's listeners hear of the
    /// result, and nobody of a failure.
    void bothAtOnce()
    {
        QFETCH(bool, isFirst);
        TunerClassesObserver tunerClasses;
        tunerClasses.init(at(classes));
        TavikResourceConverter converter;
        converter.SetOverViewVTPath(at(resources));
        QStringList heard;
        connect(m_observer.get(), &IValueChangeNotifier::si_ValueChanged,
                [&] { heard = guidsIn(m_observer->getActiveHWProcessorsAsString()); });
        TextWriter<HWProcessingOverview> list;
        TextWriter<TunerClassOverview> hierarchy;
        TextWriter<ResourceOverview> overview;

        const auto theirs = [&] {
            list.write(m_other->value(hardware), [](auto& o) { o.EditHWProcessing() = {entry("b"_s)}; });
            list.write(m_other->value(hardware), [](auto& o) { o.EditHWProcessing().append(entry("c"_s)); });
            hierarchy.write(m_other->value(classes), [](auto& o) {
                o.EditTunerClass()[0].EditTunerID() = {"t2"_s, "t4"_s};
                o.EditTunerClass().append(tunerClass("b"_s));
            });
            overview.write(m_other->value(resources), [](auto& o) {
                o.EditTuner()[0].SetIdle(true);
                o.EditTuner().append(tuner("b"_s));
                o.SetNumberOfTuners(3);
            });
        };
        if (!isFirst)
            theirs();
        m_observer->appendHardwareProcessingInfo(entry("a"_s));
        TunerClassOverview changed = tunerClasses.getTunerClassOverview();
        changed.EditTunerIdDefinition().SetChoice(2);
        changed.EditTunerClass()[0].EditTunerID().append("t3"_s);
        changed.EditTunerClass().removeLast();
        QVERIFY(tunerClasses.setTunerClassOverview(changed));
        ResourceOverview wanted;
        wanted.SetXmlString(m_mine->text(resources), false);
        wanted.EditTuner()[0].SetAccessible(true);
        wanted.EditTuner()[1] = tuner("a"_s);
        QVERIFY(converter.SetResourceOverview(wanted));
        if (isFirst)
            theirs();

        QTRY_COMPARE(guidsIn(m_server->text(hardware)), QStringList({"a"_s, "b"_s, "c"_s}));
        for (const QString& name : {hardware, classes, resources}) {
            QTRY_COMPARE(m_mine->text(name), m_server->text(name));
            QTRY_COMPARE(m_other->text(name), m_server->text(name));
        }
        QCOMPARE(guidsIn(m_observer->getActiveHWProcessorsAsString()), QStringList({"a"_s, "b"_s, "c"_s}));
        QCOMPARE(heard, QStringList({"a"_s, "b"_s, "c"_s}));
        const TunerClassOverview& mirrored = tunerClasses.getTunerClassOverview();
        QCOMPARE(mirrored.GetXmlString(), m_server->text(classes));
        QCOMPARE(mirrored.GetTunerIdDefinition().GetChoice(), 2);
        QCOMPARE(mirrored.GetTunerClass().size(), 2);
        QCOMPARE(mirrored.GetTunerClass().last().GetGUID(), "b"_s);
        const QVector<QString>& ids = mirrored.GetTunerClass().first().GetTunerID();
        QCOMPARE(QSet<QString>(ids.begin(), ids.end()), (QSet<QString>{"t2"_s, "t3"_s, "t4"_s}));
        ResourceOverview result;
        result.SetXmlString(m_server->text(resources), false);
        QCOMPARE(result.GetTuner().size(), 3);
        QVERIFY(result.GetTuner().first().GetIdle() && result.GetTuner().first().GetAccessible());
        QCOMPARE(result.GetNumberOfTuners(), 3);
        QCOMPARE(m_mine->failures + m_other->failures, QVector<int>());
    }

    /// What was written while the line was down counts when it is back, upon what others have written; who
    /// dies before leaves that to nobody, and aloud.
    void lineLost()
    {
        for (const bool dies : {false, true}) {
            m_broker->Cut(*m_mine->carrier, 300);
            QTRY_VERIFY(!m_mine->link->isOnline());
            m_observer->appendHardwareProcessingInfo(entry("a"_s));
            m_observer->removeHardwareProcessingInfo("old"_s);
            m_other->value(hardware)->SetValue(listOf({"old"_s, "b"_s}));
            QTRY_COMPARE(guidsIn(m_server->text(hardware)), QStringList({"b"_s, "old"_s}));
            if (dies)
                m_observer.reset();
            QTRY_COMPARE(guidsIn(m_server->text(hardware)),
                         dies ? QStringList({"b"_s, "old"_s}) : QStringList({"a"_s, "b"_s}));
            QTRY_VERIFY(m_mine->link->isOnline() && m_mine->link->branches().first().openWishes == 0);
            QTRY_COMPARE(m_mine->text(hardware), m_server->text(hardware));
            QCOMPARE(m_mine->failures.size(), dies ? 2 : 0);
            m_other->value(hardware)->SetValue(listOf({"old"_s}));
            QTRY_COMPARE(m_mine->text(hardware), listOf({"old"_s}));
        }
    }

    /// The owner's next life has another list, and never heard of the change: that ends aloud, and the next
    /// one stands upon what is there.
    void ownerGone()
    {
        m_observer->appendHardwareProcessingInfo(entry("never sent"_s));
        m_mine->link.reset();
        m_mine->join();
        m_mine->link->mirror({"*"_s});
        m_mine->waitForServer();
        QTRY_COMPARE(guidsIn(m_mine->text(hardware)), QStringList("old"_s));
        m_observer->appendHardwareProcessingInfo(entry("a"_s));
        m_server->link.reset();
        m_server->value(hardware)->SetValue(listOf({"new"_s}));
        m_server->join();
        m_server->publish();
        QTRY_VERIFY(!m_mine->failures.isEmpty());
        QTRY_COMPARE(guidsIn(m_observer->getActiveHWProcessorsAsString()), QStringList("new"_s));
        QTRY_COMPARE(guidsIn(m_other->text(hardware)), QStringList("new"_s));
        m_observer->appendHardwareProcessingInfo(entry("b"_s));
        TextWriter<HWProcessingOverview> list;
        list.write(m_other->value(hardware), [](auto& o) { o.EditHWProcessing().append(entry("c"_s)); });
        QTRY_COMPARE(guidsIn(m_server->text(hardware)), QStringList({"b"_s, "c"_s, "new"_s}));
        QCOMPARE(m_mine->failures.size(), 1);
    }

    /// What cannot be shared is missing or stays as it was, is told once, and holds nothing else up.
    void refusedContents()
    {
        struct Odd : StringValue
        {
            int GetType() const override { return 777; }
        };
        const Startup::TraceRecorder traces;
        const QString huge(int(Limits::valueBytes) + 1, QLatin1Char('x'));
        const QString before = m_mine->text(resources);
        for (const char* const name : {"one", "two"}) {
            m_serverTree.Add(at(QLatin1String(name)), std::make_unique<Odd>());
            m_server->value(resources)->SetValue(huge + QLatin1String(name));
        }
        m_server->value(hardware)->SetValue(listOf({"n"_s}));
        QTRY_COMPARE(m_mine->text(hardware), listOf({"n"_s}));
        QTRY_COMPARE(traces.count("values of type 777 are not known"_s), 2); // in both processes
        QVERIFY(!m_mine->value("one"_s));
        QCOMPARE(m_mine->text(resources), before);
        QCOMPARE(traces.count("Resources is not published"_s), 1);
        m_mine->value(resources)->SetValue(huge);
        QTRY_COMPARE(m_mine->failures, QVector<int>{int(values::WishFailure::Refused)});
        QCOMPARE(m_mine->text(resources), before);
        m_server->value(resources)->SetValue("small"_s);
        QTRY_COMPARE(m_mine->text(resources), "small"_s);

        QSignalSpy link(m_mine->link.get(), &TreeLink::si_LinkChanged);
        m_mine->carrier->onRefused("kolta/1/b/+/live", "Not authorized"_s);
        QCOMPARE(link.size(), 1);
        QCOMPARE(link.first().at(1).toString(),
                 "the broker refuses \"kolta/1/b/+/live\" to the user \"me\": Not authorized"_s);
    }

private:
    std::unique_ptr<MemoryBroker> m_broker;
    QElapsedTimer m_clock;
    std::unique_ptr<QTimer> m_pump;
    values::Tree m_serverTree, m_otherTree;
    std::unique_ptr<Process> m_server, m_mine, m_other;
    std::unique_ptr<HardwareProcessingObserver> m_observer;
};

QTEST_GUILESS_MAIN(TestWriters)
#include "tst_writers.moc"
