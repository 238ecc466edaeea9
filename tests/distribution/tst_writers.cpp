#include "treeside.h"

#include <distribution/memorycarrier.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/tavikresourceconverter.h>
#include <koltacommon/tunerclassesobserver.h>

#include <startup/errorhandler.h>

#include <support/rows.h>
#include <support/text.h>

using namespace distribution;
using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

/// What another process writes by the same rule.
template<class Overview>
struct TextWriter : IObserver, WholeTextWriter
{
    template<class Change>
    void write(StringValue* value, const Change& change)
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

/// "a b" of a list with the entries b and a; empty for what is none.
QString guidsIn(const QString& text)
{
    HWProcessingOverview list;
    TavikXmlHelpers::parseResourceManagementObject(list, text);
    QStringList guids;
    for (const HWProcessing& item : list.GetHWProcessing())
        guids.append(item.GetGUID());
    guids.sort();
    return guids.join(QLatin1Char(' '));
}

TunerClass tunerClass(const QString& guid, const QVector<QString>& tuners)
{
    TunerClass result;
    result.SetGUID(guid);
    result.SetName(guid);
    result.SetTunerID(tuners);
    return result;
}

Tuner tuner(const QString& guid)
{
    Tuner result;
    result.EditTavikResource().SetGUID(guid);
    return result;
}

constexpr char kList[] = "HardwareProcessing";
constexpr char kClasses[] = "TunerClasses";
constexpr char kResources[] = "Resources";

} // namespace

/// Several processes that write the same texts as a whole.
class TestWriters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock.start();
        m_broker = std::make_unique<MemoryBroker>();
        m_pump = std::make_unique<QTimer>();
        connect(m_pump.get(), &QTimer::timeout, [this] { m_broker->Advance(m_clock.elapsed()); });
        m_pump->start(1);
        m_server = side("server");
        TunerClassOverview classes;
        classes.EditTunerClass() = {tunerClass("c"_s, {"t1"_s, "t2"_s}), tunerClass("old"_s, {})};
        ResourceOverview resources;
        resources.EditTuner() = {tuner("t"_s), tuner("old"_s)};
        resources.SetNumberOfTuners(2);
        m_server->tree.Emplace<StringValue>(at(kList), listOf({"old"_s}));
        m_server->tree.Emplace<StringValue>(at(kClasses), classes.GetXmlString());
        m_server->tree.Emplace<StringValue>(at(kResources), resources.GetXmlString());
        m_server->tree.Emplace<values::SelectionValue>(at("WorkingState"), QMap<int, QString>{{5, "Up"_s}},
                                                       5);
        m_server->publish(policy());
        m_other = side("other");
        m_other->mirror();
        m_mine = side("me", &values::Tree::Instance());
        m_mine->mirror();
        m_observer = std::make_unique<HardwareProcessingObserver>(at(kList));
    }
    void cleanup()
    {
        m_observer.reset();
        m_mine.reset();
        m_other.reset();
        m_server.reset();
    }

    void bothAtOnce_data()
    {
        const Rows<bool> row("isFirst");
        row("first", true);
        row("second", false);
    }
    /// Whoever is faster, both changes last, in any of the texts; the slower one's listeners hear of the
    /// result, and nobody of a failure.
    void bothAtOnce()
    {
        QFETCH(bool, isFirst);
        TunerClassesObserver classes;
        classes.init(at(kClasses));
        TavikResourceConverter converter;
        converter.SetOverViewVTPath(at(kResources));
        QString heard;
        connect(m_observer.get(), &IValueChangeNotifier::si_ValueChanged,
                [&] { heard = guidsIn(m_observer->getActiveHWProcessorsAsString()); });
        TextWriter<HWProcessingOverview> list;
        TextWriter<TunerClassOverview> hierarchy;
        TextWriter<ResourceOverview> resources;
        const auto theirs = [&] {
            list.write(m_other->value(kList), [](auto& o) { o.EditHWProcessing() = {entry("b"_s)}; });
            list.write(m_other->value(kList), [](auto& o) { o.EditHWProcessing().append(entry("c"_s)); });
            hierarchy.write(m_other->value(kClasses), [](auto& o) {
                o.EditTunerClass()[0].EditTunerID() = {"t2"_s, "t4"_s};
                o.EditTunerClass().append(tunerClass("b"_s, {}));
            });
            resources.write(m_other->value(kResources), [](auto& o) {
                o.EditTuner()[0].SetIdle(true);
                o.EditTuner().append(tuner("b"_s));
                o.SetNumberOfTuners(3);
            });
        };
        if (!isFirst)
            theirs();
        m_observer->appendHardwareProcessingInfo(entry("a"_s));
        TunerClassOverview changed = classes.getTunerClassOverview();
        changed.EditTunerIdDefinition().SetChoice(2);
        changed.EditTunerClass()[0].EditTunerID().append("t3"_s);
        changed.EditTunerClass().removeLast();
        QVERIFY(classes.setTunerClassOverview(changed));
        ResourceOverview wanted;
        wanted.SetXmlString(m_mine->text(kResources), false);
        wanted.EditTuner()[0].SetAccessible(true);
        wanted.EditTuner()[1] = tuner("a"_s);
        QVERIFY(converter.SetResourceOverview(wanted));
        if (isFirst)
            theirs();

        QTRY_COMPARE(guidsIn(m_server->text(kList)), "a b c"_s);
        for (const char* const name : {kList, kClasses, kResources}) {
            QTRY_COMPARE(m_mine->text(name), m_server->text(name));
            QTRY_COMPARE(m_other->text(name), m_server->text(name));
        }
        QCOMPARE(heard, "a b c"_s);
        const TunerClassOverview& mirrored = classes.getTunerClassOverview();
        QCOMPARE(mirrored.GetXmlString(), m_server->text(kClasses));
        QCOMPARE(mirrored.GetTunerIdDefinition().GetChoice(), 2);
        QCOMPARE(mirrored.GetTunerClass().size(), 2);
        const QVector<QString>& ids = mirrored.GetTunerClass().first().GetTunerID();
        QCOMPARE(QSet<QString>(ids.begin(), ids.end()), (QSet<QString>{"t2"_s, "t3"_s, "t4"_s}));
        ResourceOverview result;
        result.SetXmlString(m_server->text(kResources), false);
        QCOMPARE(result.GetTuner().size(), 3);
        QVERIFY(result.GetTuner().first().GetIdle() && result.GetTuner().first().GetAccessible());
        QCOMPARE(result.GetNumberOfTuners(), 3);
        QCOMPARE(m_mine->failures + m_other->failures, QStringList());
    }

    /// What was written while the line was down counts when it is back, upon what others have written; who
    /// dies before leaves that to nobody, and aloud.
    void lineLost()
    {
        for (const bool dies : {false, true}) {
            m_broker->Cut(*m_carrier, 300);
            QTRY_VERIFY(!m_mine->link->isOnline());
            m_observer->appendHardwareProcessingInfo(entry("a"_s));
            m_observer->removeHardwareProcessingInfo("old"_s);
            m_other->set(kList, listOf({"old"_s, "b"_s}));
            QTRY_COMPARE(guidsIn(m_server->text(kList)), "b old"_s);
            if (dies)
                m_observer.reset();
            QTRY_COMPARE(guidsIn(m_server->text(kList)), dies ? "b old"_s : "a b"_s);
            QTRY_VERIFY(m_mine->link->isOnline() && m_mine->link->branches().first().openWishes == 0);
            QTRY_COMPARE(m_mine->text(kList), m_server->text(kList));
            QCOMPARE(m_mine->failures.count("HardwareProcessing=1"_s), dies ? 2 : 0);
            m_other->set(kList, listOf({"old"_s}));
            QTRY_COMPARE(m_mine->text(kList), listOf({"old"_s}));
        }
    }

    /// A link that goes sends what was changed last, and tells nobody what has become of it; an owner that
    /// goes takes changes along, of which its next life never heard: that ends aloud, and the next change
    /// stands upon what is there.
    void linkAndOwnerGone()
    {
        m_observer->appendHardwareProcessingInfo(entry("sent last"_s));
        m_mine->mirror();
        QTRY_COMPARE(guidsIn(m_server->text(kList)), "old sent last"_s);
        m_server->set(kList, listOf({"old"_s}));
        QTRY_COMPARE(guidsIn(m_mine->text(kList)), "old"_s);
        m_observer->appendHardwareProcessingInfo(entry("a"_s));
        m_server->link.reset();
        m_server->set(kList, listOf({"new"_s}));
        m_server->publish(policy());
        QTRY_COMPARE(guidsIn(m_observer->getActiveHWProcessorsAsString()), "new"_s);
        QTRY_COMPARE(guidsIn(m_other->text(kList)), "new"_s);
        QCOMPARE(m_mine->failures.size(), 2);
        m_observer->appendHardwareProcessingInfo(entry("b"_s));
        TextWriter<HWProcessingOverview> list;
        list.write(m_other->value(kList), [](auto& o) { o.EditHWProcessing().append(entry("c"_s)); });
        QTRY_COMPARE(guidsIn(m_server->text(kList)), "b c new"_s);
        QCOMPARE(m_mine->failures.size(), 2);
    }

    /// What cannot be shared is missing or stays as it was, is told once, and holds nothing else up.
    void refusedContents()
    {
        struct Odd : StringValue
        {
            int GetType() const override { return 777; }
        };
        const Startup::TraceRecorder traces;
        const QString huge(int(Limits::kValueBytes) + 1, QLatin1Char('x'));
        const QString before = m_mine->text(kResources);
        for (const char* const name : {"one", "two"}) {
            m_server->tree.Add(at(name), std::make_unique<Odd>());
            m_server->set(kResources, huge + QLatin1String(name));
        }
        m_server->set(kList, listOf({"n"_s}));
        QTRY_COMPARE(m_mine->text(kList), listOf({"n"_s}));
        QTRY_COMPARE(traces.count("values of type 777 are not known"_s), 2); // in both processes
        QVERIFY(!m_mine->value("one"));
        QCOMPARE(m_mine->text(kResources), before);
        QCOMPARE(traces.count("Resources is not published"_s), 1);
        m_mine->set(kResources, huge);
        QTRY_COMPARE(m_mine->failures, QStringList("Resources=0"_s));
        QCOMPARE(m_mine->text(kResources), before);
        m_server->set(kResources, "small"_s);
        QTRY_COMPARE(m_mine->text(kResources), "small"_s);

        QSignalSpy link(m_mine->link.get(), &TreeLink::si_LinkChanged);
        m_carrier->onRefused("kolta/1/b/+/live", "Not authorized"_s);
        QCOMPARE(link.value(0).value(1).toString(),
                 "the broker refuses \"kolta/1/b/+/live\" to the user \"me\": Not authorized"_s);
    }

private:
    std::unique_ptr<Side> side(const char* user, values::Tree* tree = nullptr)
    {
        LinkOptions options;
        options.compared = ServerNodes::pathEnds(ServerNodes::eWhole);
        options.mqtt.address.user = user;
        const auto carriers = [this] {
            auto made = std::make_unique<MemoryCarrier>(*m_broker);
            m_carrier = made.get();
            return made;
        };
        return std::make_unique<Side>(options, carriers, tree);
    }
    static std::unique_ptr<IWritePolicy> policy()
    {
        using namespace ServerNodes;
        return std::make_unique<ServerPolicy>(
            "/ConnectManager/AdminTree/S1/ADMINISTRATION"_s,
            ServerPlaces{names(eFolder), names(eRequest, eFolder), names(eWhole), QString()});
    }

    QElapsedTimer m_clock;
    std::unique_ptr<MemoryBroker> m_broker;
    std::unique_ptr<QTimer> m_pump;
    MemoryCarrier* m_carrier = nullptr; ///< the newest
    std::unique_ptr<Side> m_server, m_other, m_mine;
    std::unique_ptr<HardwareProcessingObserver> m_observer;
};

KOLTA_TEST(TestWriters);
#include "tst_writers.moc"
