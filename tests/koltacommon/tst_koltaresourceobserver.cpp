#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/powercontrolcmd.h>
#include <koltacommon/tavikresourceconverter.h>

#include <resourcemodel/requests.h>

#include <QtTest>

#include <functional>
#include <random>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString base = QStringLiteral("/S1/ADMINISTRATION");
const QString path = base + QStringLiteral("/Resources");

template<class Unit>
void append(QVector<Unit>& list, const TavikResource& resource, const QString& state)
{
    Unit unit;
    unit.SetTavikResource(resource);
    if constexpr (std::is_same_v<Unit, Tuner>) {
        unit.SetAccessible(state.at(0) == QLatin1Char('1'));
        unit.SetIdle(state.at(1) == QLatin1Char('1'));
    } else {
        unit.SetRegistration(static_cast<typename Unit::Registration>(state.at(0).digitValue()));
    }
    if constexpr (std::is_same_v<Unit, ProcessingUnit>)
        unit.SetLocalStorage(static_cast<ProcessingUnit::LocalStorage>(state.at(1).digitValue()));
    list.append(unit);
}

/// "T A 10" is tuner A, accessible and not idle; "P B 13" processing unit B with registration 1 and local
/// storage 3; "S C 1" storage unit C, registered. Entries are separated by ", ".
ResourceOverview overviewOf(const QString& entries)
{
    ResourceOverview overview;
    for (const QString& entry : entries.split(QStringLiteral(", "), Qt::SkipEmptyParts)) {
        const QStringList parts = entry.split(QLatin1Char(' '));
        TavikResource resource;
        resource.SetGUID(parts.at(1));
        if (parts.at(0) == QLatin1String("T"))
            append(overview.EditTuner(), resource, parts.at(2));
        else if (parts.at(0) == QLatin1String("P"))
            append(overview.EditProcessingUnit(), resource, parts.at(2));
        else
            append(overview.EditStorageUnit(), resource, parts.at(2));
    }
    return overview;
}

StringValue* put(const QString& at, const QString& content = QString())
{
    return values::Tree::Instance().Emplace<StringValue>(at, content);
}

/// Every signal of an observer, in the order of emission.
class Recorder : public QObject
{
public:
    explicit Recorder(KoltaResourceObserver& observer)
    {
        using O = KoltaResourceObserver;
        guid(observer, &O::si_NewTuner, "+T");
        guid(observer, &O::si_RemovedTuner, "-T");
        guid(observer, &O::si_NewPU, "+P");
        guid(observer, &O::si_RemovedPU, "-P");
        guid(observer, &O::si_NewSU, "+S");
        guid(observer, &O::si_RemovedSU, "-S");
        state(observer, &O::si_TunerAccessiblityChanged, "access");
        state(observer, &O::si_TunerIdleStateChanged, "idle");
        state(observer, &O::si_PuRegistrationChanged, "Preg");
        state(observer, &O::si_PuLocalStorageChanged, "Pstore");
        state(observer, &O::si_SuRegistrationChanged, "Sreg");
        connect(&observer, &O::si_ResourcesChanged, this, [this](const ResourceOverview& overview) {
            add(QStringLiteral("all%1").arg(overview.GetTuner().size()));
        });
        connect(&observer, &O::si_ValueChanged, this, [this] { add(QStringLiteral("value")); });
    }

    QStringList log;
    std::function<void()> react; ///< runs once, at the next signal

private:
    template<class Signal>
    void guid(KoltaResourceObserver& observer, Signal signal, const char* name)
    {
        connect(&observer, signal, this,
                [this, name](const QString& id) { add(QLatin1String(name) + QLatin1Char(' ') + id); });
    }
    template<class Signal>
    void state(KoltaResourceObserver& observer, Signal signal, const char* name)
    {
        connect(&observer, signal, this, [this, name](const QString& id, int value) {
            add(QStringLiteral("%1 %2 %3").arg(QLatin1String(name), id).arg(value));
        });
    }
    void add(const QString& line)
    {
        log.append(line);
        if (const auto function = std::exchange(react, nullptr))
            function();
    }
};

/// What the rules say about tuners, spelled out with nested loops.
QStringList expected(const QVector<Tuner>& before, const QVector<Tuner>& after)
{
    const auto id = [](const Tuner& tuner) { return tuner.GetTavikResource().GetGUID(); };
    const auto first = [&id](const QVector<Tuner>& list, const QString& guid) {
        return std::find_if(list.begin(), list.end(), [&](const Tuner& tuner) { return id(tuner) == guid; });
    };
    QStringList log;
    int added = 0;
    for (const Tuner& tuner : after) {
        const auto old = first(before, id(tuner));
        if (old == before.end()) {
            ++added;
            log.append(QStringLiteral("+T ") + id(tuner));
            continue;
        }
        if (old->GetAccessible() != tuner.GetAccessible())
            log.append(QStringLiteral("access %1 %2").arg(id(tuner)).arg(tuner.GetAccessible()));
        if (old->GetIdle() != tuner.GetIdle())
            log.append(QStringLiteral("idle %1 %2").arg(id(tuner)).arg(tuner.GetIdle()));
    }
    if (before.size() > after.size() - added) {
        for (const Tuner& tuner : before) {
            if (first(after, id(tuner)) == after.end())
                log.append(QStringLiteral("-T ") + id(tuner));
        }
    }
    return log;
}

const QString uuidA = QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}");
const QString uuidB = QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-00000000000b}");

} // namespace

class TestKoltaResourceObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_value = put(path); }
    void cleanup() { values::Tree::Instance().Clear(); }

    void differencesInOrder_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("signalLog");
        const auto row = [](const char* name, const char* before, const char* after, const char* log) {
            QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after)
                                << QString::fromLatin1(log);
        };
        row("both tuner states", "T A 00", "T A 11", "access A 1, idle A 1");
        row("both unit states", "P A 10", "P A 03", "Preg A 0, Pstore A 3");
        row("one replaced", "T A 11, T B 11", "T C 11, T B 10", "+T C, idle B 0, -T A");
        row("only grown", "S A 1", "S B 1, S A 0", "+S B, Sreg A 0");
        row("only reordered", "T A 11, T B 10", "T B 10, T A 11", "");
        row("order of lists", "T A 11, P B 13, S C 1", "T D 11, P E 13, S F 1",
            "+T D, -T A, +P E, -P B, +S F, -S C");
        row("emptied", "P A 11, P B 11", "", "-P A, -P B");
        row("same GUID in two lists", "T A 11", "P A 11", "-T A, +P A");
        row("case of letters", "T a 11", "T A 11", "+T A, -T a");
        row("twice before: the first counts", "T A 11, T A 00", "T A 00", "access A 0, idle A 0");
        row("twice unchanged still differ from the first", "T A 11, T A 01", "T A 11, T A 01, S X 1",
            "access A 0, +S X");
        row("twice new", "", "T A 11, T A 11", "+T A, +T A");
        row("removal hidden by the count", "T A 11, T B 11", "T A 11, T A 11", "");
        row("twice removed", "T A 11, T B 11, T A 00", "T B 11", "-T A, -T A");
    }
    void differencesInOrder()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, signalLog);
        KoltaResourceObserver observer(path);
        m_value->SetValue(overviewOf(before).GetXmlString());
        // With an index at hand and without one.
        observer.FindResource(uuidA);
        Recorder recorder(observer);
        m_value->SetValue(overviewOf(after).GetXmlString());
        const int tuners = overviewOf(after).GetTuner().size();
        QCOMPARE(recorder.log,
                 signalLog.split(QStringLiteral(", "), Qt::SkipEmptyParts) +
                     QStringList({QStringLiteral("all%1").arg(tuners), QStringLiteral("value")}));
    }

    void anyChangeAgreesWithTheRules()
    {
        const quint32 seed = std::random_device()();
        qInfo("seed %u", seed);
        std::mt19937 random(seed);
        const auto upTo = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
        KoltaResourceObserver observer(path);
        Recorder recorder(observer);
        QVector<int> sizes(40, 12);
        sizes << 10000 << 10000;
        for (const int size : sizes) {
            // Half of the small rounds draw from few GUIDs, so that some occur twice.
            const int names = upTo(2) || size > 100 ? size * 20 : size;
            ResourceOverview next = observer.GetCurrentResources();
            QVector<Tuner>& list = next.EditTuner();
            for (int i = 0; i < size; ++i) {
                const QString entry = QStringLiteral("T %1 %2%3").arg(upTo(names)).arg(upTo(2)).arg(upTo(2));
                const Tuner tuner = overviewOf(entry).GetTuner().at(0);
                const int what = upTo(8);
                if (what == 0 && !list.isEmpty())
                    list.removeAt(upTo(list.size()));
                else if (what <= 2 || list.size() < (size > 100 ? size : 1))
                    list.insert(size > 100 ? list.size() : upTo(list.size() + 1), tuner);
                else
                    list[upTo(list.size())] = tuner;
            }
            const ResourceOverview previous = observer.GetCurrentResources();
            recorder.log.clear();
            m_value->SetValue(next.GetXmlString());
            const QStringList end{QStringLiteral("all%1").arg(next.GetTuner().size()),
                                  QStringLiteral("value")};
            QCOMPARE(recorder.log, expected(previous.GetTuner(), next.GetTuner()) + end);
        }
    }

    void slotMayDeleteTheObserver()
    {
        auto observer = std::make_unique<KoltaResourceObserver>(path);
        Recorder recorder(*observer);
        recorder.react = [&observer] { observer.reset(); };
        m_value->SetValue(overviewOf(QStringLiteral("T A 11, T B 11")).GetXmlString());
        QCOMPARE(recorder.log, QStringList{QStringLiteral("+T A")});
        QVERIFY(!m_value->HasObservers());
    }

    void slotMayChangeTheValueAgain()
    {
        KoltaResourceObserver observer(path);
        Recorder recorder(observer);
        recorder.react = [this] { m_value->SetValue(overviewOf(QStringLiteral("T C 11")).GetXmlString()); };
        m_value->SetValue(overviewOf(QStringLiteral("T A 11, T B 11")).GetXmlString());
        QCOMPARE(recorder.log.join(QLatin1Char(',')),
                 QStringLiteral("+T A,+T C,-T A,-T B,all1,value,+T B,all2,value"));
        QCOMPARE(observer.GetCurrentResources().GetTuner().size(), 1);
        recorder.log.clear();
        m_value->SetValue(overviewOf(QStringLiteral("T C 10")).GetXmlString());
        QCOMPARE(recorder.log.first(), QStringLiteral("idle C 0"));
    }

    void lookUpsFollowTheirOrders()
    {
        ResourceOverview overview =
            overviewOf(QStringLiteral("P %1 11, S %1 1, T %2 11, P %2 11").arg(uuidA, uuidB));
        const QString name = QStringLiteral("one of several");
        overview.EditProcessingUnit()[0].EditTavikResource().SetAddress(QStringLiteral("hidden"));
        overview.EditProcessingUnit()[0].EditTavikResource().SetDisplayName(name);
        overview.EditStorageUnit()[0].EditTavikResource().SetDisplayName(name);
        overview.EditTuner()[0].EditTavikResource().SetDisplayName(name);
        overview.EditTuner()[0].EditTavikResource().SetAddress(QStringLiteral("10.0.0.1"));
        KoltaResourceObserver observer;
        QVERIFY(observer.initForOffline(overview));
        const ResourceOverview& mirror = observer.GetCurrentResources();
        QCOMPARE(observer.FindResource(uuidA), &mirror.GetStorageUnit().at(0));
        QCOMPARE(observer.FindResourceAddress(uuidA),
                 QString()); // the storage unit decides, though it has none
        QCOMPARE(observer.GetDisplayNameByGUID(uuidA), name);
        QCOMPARE(observer.FindResource(uuidB), &mirror.GetTuner().at(0));
        QCOMPARE(observer.FindResourceAddress(uuidB), QStringLiteral("10.0.0.1"));
        QCOMPARE(observer.GetGUIDForDisplayName(name), (QStringList{uuidB, uuidA, uuidA}));
        QVERIFY(!observer.FindResource(uuidA.toUpper()));
        QVERIFY(!observer.FindResource(QStringLiteral("no UUID")));
        QVERIFY(!observer.FindResource(QUuid().toString()));

        // Answers are never about an overview that was there before.
        QVERIFY(observer.initForOffline(overviewOf(QStringLiteral("T %1 11").arg(uuidA))));
        QCOMPARE(observer.FindResource(uuidA), &observer.GetCurrentResources().GetTuner().at(0));
        QVERIFY(!observer.FindResource(uuidB));
        QVERIFY(observer.init(path));
        m_value->SetValue(overviewOf(QStringLiteral("T %1 11").arg(uuidB)).GetXmlString());
        QVERIFY(!observer.FindResource(uuidA));
        QCOMPARE(observer.FindResource(uuidB), &observer.GetCurrentResources().GetTuner().at(0));
    }

    void freeTunersAndDetection()
    {
        ResourceOverview overview = overviewOf(QStringLiteral("T A 10, T B 01, T C 11, T D 11"));
        const char* const options[] = {"x vrtq,SP", "O2", "VRTQ", "o2 Vrtq"};
        for (int i = 0; i < 4; ++i) {
            overview.EditTuner()[i].SetType(QStringLiteral("wide"));
            overview.EditTuner()[i].SetOptions(QLatin1String(options[i]));
        }
        overview.EditTuner()[3].SetType(QStringLiteral("narrow"));
        KoltaResourceObserver observer;
        observer.initForOffline(overview);
        QCOMPARE(observer.GetGUIDForFreeTuner(QStringLiteral("wide")), QStringLiteral("C"));
        QCOMPARE(observer.GetGUIDForFreeTuner(QStringLiteral("D")), QStringLiteral("D"));
        QCOMPARE(observer.GetGUIDForFreeTuner(QStringLiteral("A")), QString());
        QString detecting;
        for (const char* const id : {"A", "B", "C", "D", "E"}) {
            if (observer.supportsDetection(QLatin1String(id)))
                detecting += QLatin1String(id);
        }
        QCOMPARE(detecting, QStringLiteral("AD"));
    }

    void storage()
    {
        const QString usable = QStringLiteral("P A 01, P B 13");
        struct
        {
            QString entries;
            int exclusion; ///< of the second processing unit
            bool storage;
            const char* types;
        } const cases[] = {{QString(), 0, false, ""},
                           {QStringLiteral("P A 03, P B 12, S C 0, S D 2"), 0, false, ""},
                           {QStringLiteral("P A 03, S C 1"), 0, true, ""},
                           {usable, 0, true, "12345"},
                           {usable, 1, true, "345"},
                           {usable, 2, true, "1245"},
                           {usable, 3, true, "1235"},
                           {usable, 4, true, "1234"},
                           {usable + QStringLiteral(", P C 13"), 1, true, "12345"}};
        for (const auto& row : cases) {
            ResourceOverview overview = overviewOf(row.entries);
            if (row.exclusion)
                overview.EditProcessingUnit()[1].EditExclusion().append(
                    static_cast<ProcessingUnit::Exclusion>(row.exclusion));
            KoltaResourceObserver observer;
            observer.initForOffline(overview);
            QCOMPARE(observer.hasStorage(), row.storage);
            QString able;
            for (int type = -1; type <= 7; ++type) {
                if (observer.canSystemRunAppWithLocalStorage(static_cast<eAppType>(type)))
                    able += QString::number(type);
            }
            QCOMPARE(able, QLatin1String(row.types));
        }
    }

    void writersReachTheirValues()
    {
        KoltaResourceObserver observer(path);
        const ResourceOverview changed = overviewOf(QStringLiteral("T A 11"));
        RESOURCEMANAGEMENT::TunerManagementRequest request;
        request.SetRequestID(uuidA);
        using O = KoltaResourceObserver;
        const QString xml = changed.GetXmlString();
        const QVector<std::tuple<QString, QString, std::function<void()>>> writers{
            {QStringLiteral("ChangedTuners"), xml, [&] { observer.setChangedTuners(changed); }},
            {QStringLiteral("ChangedTuners"), request.GetXmlString(),
             [&] { observer.setChangedTuners(request); }},
            {QStringLiteral("ChangedPUs"), xml, [&] { observer.setChangedProcessingUnits(changed); }},
            {QStringLiteral("ChangedSUs"), xml, [&] { observer.setChangedStorageUnits(changed); }},
            {QStringLiteral("UnitPowerControl"), QStringLiteral("3@0@A"),
             [&] { observer.powerControl(O::eProgramsOff, QStringLiteral("A")); }}};
        struct Server : IObserver
        {
            void Update(Observable*, TChangeCode code) override { codes.append(code); }
            QVector<int> codes;
        };
        for (const auto& [name, text, write] : writers) {
            const QString target = base + QLatin1Char('/') + name;
            values::Tree::Instance().Remove(target);
            write(); // nobody there
            QVERIFY(!values::Tree::Instance().Find(target));
            StringValue* const value = put(target);
            Server server;
            value->Attach(&server);
            write();
            write(); // the identical request is announced again
            QCOMPARE(value->GetValue(), text);
            QCOMPARE(server.codes, (QVector<int>{3, 3}));
            values::Tree::Instance().Remove(target);
            write(); // only its tombstone is left
            QCOMPARE(value->GetValue(), QString());
        }
        // What XML cannot carry is not written.
        StringValue* const tuners = put(base + QStringLiteral("/ChangedTuners"));
        ResourceOverview unwritable;
        unwritable.EditTuner().resize(1);
        observer.setChangedTuners(unwritable);
        QCOMPARE(tuners->GetValue(), QString());
    }

    void powerControlCommands()
    {
        StringValue* const value = put(base + QStringLiteral("/UnitPowerControl"));
        KoltaResourceObserver observer(path);
        const QMap<int, const char*> forms{{0, "1@1"}, {1, "1@0"}, {2, "0@1"}, {3, "0@0"}, {4, "2@1"},
                                           {5, "2@0"}, {6, "3@0"}, {7, "4@0"}, {8, "1@1"}, {-1, "1@1"}};
        const QStringList units{QStringLiteral("A@x"), QStringLiteral("%2C,B")};
        for (auto it = forms.begin(); it != forms.end(); ++it) {
            observer.powerControl(static_cast<KoltaResourceObserver::ePowerControlCommand>(it.key()), units);
            QVERIFY2(value->GetValue().startsWith(QLatin1String(it.value()) + QLatin1Char('@')),
                     qPrintable(value->GetValue()));
            const auto command = PowerControlCmd::fromString(value->GetValue());
            QVERIFY(command);
            QCOMPARE(command->units(), units);
            QCOMPARE(command->toString(), value->GetValue());
        }
        value->SetValue(QStringLiteral("untouched"));
        observer.powerControl(KoltaResourceObserver::eUnitOff, QStringList());
        QCOMPARE(value->GetValue(), QStringLiteral("untouched"));
        for (const char* const text :
             {"", "1", "1@1", "1@1@", "5@1@A", "1@2@A", "1@on@A", "@1@A", "1@1@A,", "10@1@A"})
            QVERIFY2(!PowerControlCmd::fromString(QLatin1String(text)), text);
    }

    void converterBelongsToTheObserver()
    {
        KoltaResourceObserver observer(path);
        TavikResourceConverter* const converter = observer.createResourceConverter();
        QCOMPARE(converter->parent(), &observer);
        const ResourceOverview overview = overviewOf(QStringLiteral("T A 11"));
        QVERIFY(converter->SetResourceOverview(overview));
        QVERIFY(observer.GetCurrentResources() == overview);
        values::Tree::Instance().Remove(path);
        QVERIFY(!converter->SetResourceOverview(overview));
    }

private:
    StringValue* m_value = nullptr;
};

QTEST_GUILESS_MAIN(TestKoltaResourceObserver)
#include "tst_koltaresourceobserver.moc"
