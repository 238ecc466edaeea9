#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimemaps.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <simulation/activity.h>
#include <simulation/simulatedserver.h>
#include <support/probe.h>
#include <support/simulated.h>
#include <support/test.h>

#include <limits>
#include <tuple>

using namespace Kolta;
using KoltaSimulation::Activity;
using KoltaSimulation::ShortTimeActivity;
using KoltaSimulation::SimulatedServer;
using sorel::RecordIdentifier;

namespace {

const QString hopper = "VHF hopper 100"_s;

/// Writes down the answers of a map, and may interfere.
template<class Map>
class Answers : public IObserver
{
public:
    explicit Answers(Map& map) : m_map(map) { map.Attach(this); }
    QStringList texts;
    std::function<void()> onAnswer;

private:
    void Update(Observable*, TChangeCode) override
    {
        for (const auto& request : m_map.GetPendingRequests()) {
            const QString* const error = m_map.FindReply(request.first);
            if (!error)
                continue;
            texts.append(*error);
            if (onAnswer)
                onAnswer();
            return;
        }
    }
    Map& m_map;
};

RecordIdentifier record(int number)
{
    return {"S"_s, "D"_s, QString::number(number)};
}

} // namespace

/// The short-time data of a simulated server, as a client sees it, and what happens in it by itself.
class TestShortTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<SimulatedServer>(sampleInstallation());
        m_server->publish();
    }
    void cleanup()
    {
        const QString path = ServerNodes::shortTimePath(m_server->installation().basePath());
        m_server.reset();
        QVERIFY(!values::Tree::Instance().Find(path));
    }

    void assigns()
    {
        const QString guid = "0D0D0D0D-0000-4000-8000-00000000000D"_s;
        const QString key = "{0d0d0d0d-0000-4000-8000-00000000000d}"_s;
        const std::tuple<QString, QStringList, quint32, const char*> cases[] = {
            {"x"_s, {}, 0, "\"x\" is no GUID of an FFP"},
            {guid, {hopper, "y"_s}, 0, "There is no profile \"y\""},
            {guid, {hopper, hopper}, 0, "The profile \"VHF hopper 100\" is assigned twice"},
            {guid, {}, 101, "The minimum coverage is 101 %, expected at most 100 %"},
            {guid, {hopper}, 100, ""},
            {guid, {}, 0, ""}};
        for (const auto& [ffp, names, coverage, answer] : cases) {
            ShortTimeFFPAssignment wanted;
            wanted.ffpGuid = ffp;
            wanted.profiles = names;
            wanted.minCoverage = coverage;
            assignments().Clear();
            Answers<ShortTimeFFPAssignmentItemMap> answers(assignments());
            assignments().RequestAssignmentChange(wanted);
            QVERIFY(assignments().Empty() && answers.texts.isEmpty()); // not within the request
            QCoreApplication::processEvents();
            QCOMPARE(answers.texts, QStringList{QLatin1String(answer)});
            QVERIFY(assignments().GetPendingRequests().empty());
            QCOMPARE(assignments().Size(), std::size_t(*answer ? 0 : 1));
            if (!*answer)
                QCOMPARE(assignments().At(key).profiles, names);
        }
    }

    void changesTypesInOrder()
    {
        Answers<ShortTimeProfileItemMap> answers(profiles());
        for (int i = 0; i < 50; ++i)
            profiles().RequestTypeChange(hopper, i % 2 ? eShortTimeProfileHopper : eShortTimeProfileIgnore);
        profiles().RequestTypeChange("y"_s, eShortTimeProfileBurst);
        profiles().RequestTypeChange(hopper, static_cast<eShortTimeProfileType>(9));
        QCoreApplication::processEvents();
        QCOMPARE(profiles().At(hopper).type, eShortTimeProfileHopper);
        QCOMPARE(answers.texts.size(), 52);
        QCOMPARE(answers.texts.mid(49),
                 (QStringList{QString(), "There is no profile \"y\""_s, "Profiles have no type 9"_s}));
    }

    void beginsEachLifeAnew()
    {
        const std::size_t count = profiles().Size();
        QVERIFY(count >= 20 && find<ShortTimeResultItemMap>() && find<ShapeCollectionItemMap>());
        // A client that stays attached makes tombstones of what vanishes.
        Answers<ShortTimeProfileItemMap> answers(profiles());
        ShortTimeProfile own;
        own.name = "own"_s;
        profiles().Set(own);
        profiles().RequestTypeChange(own.name, eShortTimeProfileBurst);
        addConversions(1);
        m_server->vanish();
        QVERIFY(!find<ShortTimeProfileItemMap>() && !find<ConvertProductionResultMap>());
        QVERIFY(m_server->comeBack());
        QCoreApplication::processEvents();
        QCOMPARE(profiles().Size(), count);
        QVERIFY(profiles().GetPendingRequests().empty() && answers.texts.isEmpty());
        QVERIFY(conversions().Empty());
        // Who hears of an answer may end the server's life, also twice; the requests behind it are void.
        answers.onAnswer = [this] {
            m_server->vanish();
            m_server->comeBack();
        };
        for (int i = 0; i < 3; ++i)
            profiles().RequestTypeChange(hopper, eShortTimeProfileHopper);
        QCoreApplication::processEvents();
        QCOMPARE(answers.texts, QStringList{QString()});
        QCOMPARE(profiles().At(hopper).type, eShortTimeProfileUnspecified);
        QVERIFY(profiles().GetPendingRequests().empty());
    }

    void detectsWhatIsAssigned()
    {
        ShortTimeProfile profile;
        profile.useFrequency = profile.useBandwidth = true;
        profile.frequencyMin = 7;
        profile.frequencyMax = std::numeric_limits<quint64>::max();
        profile.bandwidthMin = profile.bandwidthMax = std::numeric_limits<quint32>::max();
        for (const char* name : {"wanted", "ignored", "disabled"}) {
            profile.name = QLatin1String(name);
            profile.type = profile.name == "ignored"_s ? eShortTimeProfileIgnore : eShortTimeProfileBurst;
            profiles().Set(profile);
        }
        ShortTimeFFPAssignment assignment;
        assignment.ffpGuid = "{1}"_s;
        assignment.profiles = QStringList{"disabled"_s};
        assignments().Set(assignment);
        auto& results = *find<ShortTimeResultItemMap>();
        Activity activity(*m_server, 5);
        for (int step = 0; step < 50; ++step)
            activity.step();
        QVERIFY(results.Empty());
        assignment.ffpGuid = "{2}"_s;
        assignment.enabled = assignment.autoRecording = true;
        assignment.profiles = words("gone ignored wanted");
        assignments().Set(assignment);
        for (std::size_t step = 0; step < 10 * ShortTimeActivity::kKeptResults; ++step)
            activity.step();
        QCOMPARE(results.Size(), ShortTimeActivity::kKeptResults);
        QSet<quint64> frequencies;
        for (const auto& entry : results.data()) {
            const ShortTimeResult& result = entry.second;
            QVERIFY(result.profileName == "wanted"_s && result.ffpGuid == "{2}"_s && result.frequency >= 7);
            QCOMPARE(result.bandwidth, profile.bandwidthMax);
            QVERIFY(RecordIdentifier::fromString(result.recordId).valid());
            frequencies.insert(result.frequency);
        }
        QVERIFY(frequencies.size() > 100);
    }

    void endsConversions()
    {
        constexpr int count = 40;
        Activity activity(*m_server, 7);
        addConversions(count);
        QStringList states;
        for (int step = 0; step < 2 * count; ++step) {
            activity.step();
            const ConvertProductionResult& first = conversions().At(record(0));
            const QString state = "%1 %2"_s.arg(int(first.state())).arg(first.result());
            if (!states.contains(state))
                states.append(state);
        }
        QCOMPARE(states.mid(0, 2), QStringList({"1 "_s, "1 50 %"_s}));
        int good = 0;
        for (const auto& entry : conversions().data()) {
            QVERIFY(entry.second.finished());
            QCOMPARE(entry.second.sucessfullyFinished(), entry.second.result() == "t"_s);
            good += entry.second.sucessfullyFinished() ? 1 : 0;
        }
        QVERIFY(good > count / 2 && good < count);
    }

    /// Who hears of the first conversion finishes the others, or ends the server's life.
    void activitySurvivesObservers()
    {
        for (const bool vanishes : {false, true}) {
            addConversions(3);
            auto& map = conversions();
            QStringList heard;
            Probe interferer(&heard);
            interferer.action = [&](Observable*, TChangeCode) {
                interferer.action = nullptr;
                if (vanishes)
                    return m_server->withdraw();
                for (int i = 0; i < 3; ++i)
                    map.setFinished(record(i), true, "by hand"_s);
            };
            map.Attach(&interferer);
            Activity(*m_server, 7).step();
            for (const auto& entry : map.data())
                QCOMPARE(entry.second.result(), "by hand"_s);
            QCOMPARE(map.IsDeleted(), vanishes);
            map.Clear();
        }
        Activity(*m_server, 5).step(); // published nowhere any more
    }

private:
    template<class Map>
    Map* find() const
    {
        return shortTimeMap<Map>(m_server->installation().basePath());
    }
    ShortTimeProfileItemMap& profiles() const { return *find<ShortTimeProfileItemMap>(); }
    ShortTimeFFPAssignmentItemMap& assignments() const { return *find<ShortTimeFFPAssignmentItemMap>(); }
    ConvertProductionResultMap& conversions() const { return *find<ConvertProductionResultMap>(); }
    void addConversions(int count) const
    {
        for (int i = 0; i < count; ++i)
            conversions().Add(
                ConvertProductionResult(ConvertProductionResultRequest{record(i), {}, {}, {}, "t"_s}));
    }

    std::unique_ptr<SimulatedServer> m_server;
};

KOLTA_TEST(TestShortTime);
#include "tst_shorttime.moc"
