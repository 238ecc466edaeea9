#include <simulation/activity.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <values/tree.h>

#include <QtTest>

#include <functional>
#include <limits>
#include <utility>

using namespace KoltaSimulation;
using namespace Kolta;
using sorel::RecordIdentifier;

/// What happens in short-time data by itself.
class TestShortTimeActivity : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void detectsWhatIsAssigned();
    void endsConversions();
    void survivesObservers();

private:
    template<class Map>
    Map& map(const SimulatedServer& server, const char* name)
    {
        return *m_tree.FindAs<Map>(server.shortTimePath(QLatin1String(name)));
    }
    static RecordIdentifier record(int number)
    {
        return {QStringLiteral("S"), QStringLiteral("D"), QString::number(number)};
    }
    static void addConversions(ConvertProductionResultMap& map, int count)
    {
        for (int i = 0; i < count; ++i)
            map.Add(ConvertProductionResult(
                ConvertProductionResultRequest{record(i), {}, {}, {}, QStringLiteral("t")}));
    }

    Installation m_installation;
    values::Tree m_tree;
};

void TestShortTimeActivity::initTestCase()
{
    QString error;
    QVERIFY2(m_installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
    m_installation.setResources({});
}

void TestShortTimeActivity::detectsWhatIsAssigned()
{
    SimulatedServer server(m_installation);
    Activity activity(server, 5);
    activity.step(); // published nowhere
    server.publish(m_tree);
    auto& profiles = map<ShortTimeProfileItemMap>(server, "Profiles");
    ShortTimeProfile profile;
    profile.useFrequency = true;
    profile.frequencyMin = 7;
    profile.frequencyMax = std::numeric_limits<quint64>::max();
    profile.useBandwidth = true;
    profile.bandwidthMin = profile.bandwidthMax = std::numeric_limits<quint32>::max();
    for (const char* name : {"wanted", "ignored", "disabled"}) {
        profile.name = QLatin1String(name);
        profile.type =
            profile.name == QLatin1String("ignored") ? eShortTimeProfileIgnore : eShortTimeProfileBurst;
        profiles.Set(profile);
    }
    auto& assignments = map<ShortTimeFFPAssignmentItemMap>(server, "Assignments");
    ShortTimeFFPAssignment assignment;
    assignment.ffpGuid = QStringLiteral("{1}");
    assignment.profiles = QStringList{QStringLiteral("disabled")};
    assignments.Set(assignment);
    auto& results = map<ShortTimeResultItemMap>(server, "Results");
    const auto steps = [&activity](std::size_t count) {
        while (count-- > 0)
            activity.step();
    };
    steps(50);
    QVERIFY(results.Empty());

    assignment.ffpGuid = QStringLiteral("{2}");
    assignment.enabled = assignment.autoRecording = true;
    assignment.profiles =
        QStringList{QStringLiteral("gone"), QStringLiteral("ignored"), QStringLiteral("wanted")};
    assignments.Set(assignment);
    steps(10 * ShortTimeActivity::kKeptResults);
    QCOMPARE(results.Size(), ShortTimeActivity::kKeptResults);
    QSet<quint64> frequencies;
    for (const auto& entry : results.data()) {
        const ShortTimeResult& result = entry.second;
        QCOMPARE(result.profileName, QStringLiteral("wanted"));
        QCOMPARE(result.ffpGuid, QStringLiteral("{2}"));
        QVERIFY(result.frequency >= 7);
        QCOMPARE(result.bandwidth, profile.bandwidthMax);
        QVERIFY(RecordIdentifier::fromString(result.recordId).valid());
        frequencies.insert(result.frequency);
    }
    QVERIFY(frequencies.size() > 100);
}

void TestShortTimeActivity::endsConversions()
{
    constexpr int count = 40;
    SimulatedServer server(m_installation);
    server.publish(m_tree);
    Activity activity(server, 7);
    auto& conversions = map<ConvertProductionResultMap>(server, "Conversions");
    addConversions(conversions, count);
    QStringList states;
    for (int step = 0; step < 2 * count; ++step) {
        activity.step();
        const ConvertProductionResult& first = conversions.At(record(0));
        const QString state = QStringLiteral("%1 %2").arg(int(first.state())).arg(first.result());
        if (!states.contains(state))
            states.append(state);
    }
    QCOMPARE(states.mid(0, 2), QStringList({QStringLiteral("1 "), QStringLiteral("1 50 %")}));
    int good = 0;
    for (const auto& entry : conversions.data()) {
        QVERIFY(entry.second.finished());
        QCOMPARE(entry.second.sucessfullyFinished(), entry.second.result() == QLatin1String("t"));
        good += entry.second.sucessfullyFinished() ? 1 : 0;
    }
    QVERIFY(good > count / 2 && good < count);
}

/// Who hears of the first conversion finishes the others, or ends the server's life.
void TestShortTimeActivity::survivesObservers()
{
    struct Interferer : IObserver
    {
        std::function<void()> call;
        void Update(Observable*, TChangeCode) override
        {
            std::exchange(call, [] {})();
        }
    };
    for (const bool vanishes : {false, true}) {
        SimulatedServer server(m_installation);
        server.publish(m_tree);
        auto& conversions = map<ConvertProductionResultMap>(server, "Conversions");
        addConversions(conversions, 3);
        Interferer interferer;
        interferer.call = [&] {
            if (vanishes)
                return server.withdraw();
            for (int i = 0; i < 3; ++i)
                conversions.setFinished(record(i), true, QStringLiteral("by hand"));
        };
        conversions.Attach(&interferer);
        Activity(server, 7).step();
        for (const auto& entry : conversions.data())
            QCOMPARE(entry.second.result(), QStringLiteral("by hand"));
        QCOMPARE(conversions.IsDeleted(), vanishes);
        conversions.Detach(&interferer);
    }
}

QTEST_GUILESS_MAIN(TestShortTimeActivity)
#include "tst_shorttimeactivity.moc"
