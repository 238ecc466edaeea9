#include <simulation/simulatedserver.h>

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

#include <QtTest>

#include <functional>
#include <memory>
#include <tuple>

using namespace Kolta;
using KoltaSimulation::Installation;
using KoltaSimulation::SimulatedServer;

namespace {

const QString hopper = QStringLiteral("VHF hopper 100");

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

} // namespace

/// The short-time data of a simulated server, as a client sees it.
class TestShortTimeOwner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void assigns();
    void changesTypesInOrder();
    void beginsEachLifeAnew();
    void isOvertaken();

private:
    template<class Map>
    Map* find(const char* name) const
    {
        auto* const map = values::Tree::Instance().FindAs<Map>(m_server->shortTimePath(QLatin1String(name)));
        return map && !map->IsDeleted() ? map : nullptr;
    }
    ShortTimeProfileItemMap& profiles() const { return *find<ShortTimeProfileItemMap>("Profiles"); }
    ShortTimeFFPAssignmentItemMap& assignments() const
    {
        return *find<ShortTimeFFPAssignmentItemMap>("Assignments");
    }

    std::unique_ptr<SimulatedServer> m_server;
};

void TestShortTimeOwner::init()
{
    Installation installation;
    QString error;
    QVERIFY2(installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
    m_server = std::make_unique<SimulatedServer>(installation);
    m_server->publish();
}

void TestShortTimeOwner::cleanup()
{
    const QString path = m_server->shortTimePath(QString());
    m_server.reset();
    QVERIFY(!values::Tree::Instance().Find(path));
}

void TestShortTimeOwner::assigns()
{
    const QString guid = QStringLiteral("0D0D0D0D-0000-4000-8000-00000000000D");
    const QString key = QStringLiteral("{0d0d0d0d-0000-4000-8000-00000000000d}");
    const std::tuple<QString, QStringList, quint32, const char*> cases[] = {
        {QStringLiteral("x"), {}, 0, "\"x\" is no GUID of an FFP"},
        {guid, {hopper, QStringLiteral("y")}, 0, "There is no profile \"y\""},
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

void TestShortTimeOwner::changesTypesInOrder()
{
    Answers<ShortTimeProfileItemMap> answers(profiles());
    for (int i = 0; i < 50; ++i)
        profiles().RequestTypeChange(hopper, i % 2 ? eShortTimeProfileHopper : eShortTimeProfileIgnore);
    profiles().RequestTypeChange(QStringLiteral("y"), eShortTimeProfileBurst);
    profiles().RequestTypeChange(hopper, static_cast<eShortTimeProfileType>(9));
    QCoreApplication::processEvents();
    QCOMPARE(profiles().At(hopper).type, eShortTimeProfileHopper);
    QCOMPARE(answers.texts.size(), 52);
    QCOMPARE(answers.texts.mid(49), (QStringList{QString(), QStringLiteral("There is no profile \"y\""),
                                                 QStringLiteral("Profiles have no type 9")}));
}

void TestShortTimeOwner::beginsEachLifeAnew()
{
    const std::size_t count = profiles().Size();
    QVERIFY(count >= 20);
    QVERIFY(find<ShortTimeResultItemMap>("Results") && find<ShapeCollectionItemMap>("Shapes") &&
            find<ConvertProductionResultMap>("Conversions"));
    // A client that stays attached makes tombstones of what vanishes.
    Answers<ShortTimeProfileItemMap> answers(profiles());
    ShortTimeProfile own;
    own.name = QStringLiteral("own");
    profiles().Set(own);
    profiles().RequestTypeChange(own.name, eShortTimeProfileBurst);
    ConvertProductionResultRequest conversion;
    conversion.record = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    find<ConvertProductionResultMap>("Conversions")->Add(ConvertProductionResult(conversion));
    m_server->vanish();
    QVERIFY(!find<ShortTimeProfileItemMap>("Profiles") && !find<ConvertProductionResultMap>("Conversions"));
    QVERIFY(m_server->comeBack());
    QCoreApplication::processEvents();
    QCOMPARE(profiles().Size(), count);
    QVERIFY(profiles().GetPendingRequests().empty() && answers.texts.isEmpty());
    QVERIFY(find<ConvertProductionResultMap>("Conversions")->Empty());
    profiles().RequestTypeChange(hopper, eShortTimeProfileHopper);
    QCoreApplication::processEvents();
    QCOMPARE(answers.texts, QStringList{QString()});
}

/// Who hears of an answer may end the server's life, also twice; the requests behind it are void.
void TestShortTimeOwner::isOvertaken()
{
    Answers<ShortTimeProfileItemMap> answers(profiles());
    answers.onAnswer = [this] {
        m_server->vanish();
        m_server->comeBack();
    };
    for (int i = 0; i < 3; ++i)
        profiles().RequestTypeChange(hopper, eShortTimeProfileHopper);
    QCoreApplication::processEvents();
    QCOMPARE(answers.texts.size(), 1);
    QCOMPARE(profiles().At(hopper).type, eShortTimeProfileUnspecified);
    QVERIFY(profiles().GetPendingRequests().empty());
}

QTEST_GUILESS_MAIN(TestShortTimeOwner)
#include "tst_shorttimeowner.moc"
