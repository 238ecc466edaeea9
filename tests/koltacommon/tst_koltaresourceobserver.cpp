#include "../values/probe.h"

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

/// "T A 10" is tuner A, accessible and not idle; "P B 13" processing unit B with registration 1 and local
/// storage 3; "S C 1" storage unit C, registered. Entries are separated by ", ".
ResourceOverview overviewOf(const QString& entries)
{
    ResourceOverview overview;
    for (const QString& entry : entries.split(QStringLiteral(", "), Qt::SkipEmptyParts)) {
        const QStringList parts = entry.split(QLatin1Char(' '));
        const auto state = [&parts](int i) { return parts.at(2).at(i).digitValue(); };
        const auto append = [&parts](auto& list) -> auto&
        {
            list.resize(list.size() + 1);
            list.last().EditTavikResource().SetGUID(parts.at(1));
            return list.last();
        };
        if (parts.at(0) == QLatin1String("T")) {
            Tuner& tuner = append(overview.EditTuner());
            tuner.SetAccessible(state(0));
            tuner.SetIdle(state(1));
        } else if (parts.at(0) == QLatin1String("P")) {
            ProcessingUnit& unit = append(overview.EditProcessingUnit());
            unit.SetRegistration(static_cast<ProcessingUnit::Registration>(state(0)));
            unit.SetLocalStorage(static_cast<ProcessingUnit::LocalStorage>(state(1)));
        } else {
            append(overview.EditStorageUnit())
                .SetRegistration(static_cast<StorageUnit::Registration>(state(0)));
        }
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
    using O = KoltaResourceObserver;

    explicit Recorder(O& observer) : m_observer(observer)
    {
        hear(&O::si_NewTuner, "+T");
        hear(&O::si_RemovedTuner, "-T");
        hear(&O::si_NewPU, "+P");
        hear(&O::si_RemovedPU, "-P");
        hear(&O::si_NewSU, "+S");
        hear(&O::si_RemovedSU, "-S");
        hear(&O::si_TunerAccessiblityChanged, "access");
        hear(&O::si_TunerIdleStateChanged, "idle");
        hear(&O::si_PuRegistrationChanged, "Preg");
        hear(&O::si_PuLocalStorageChanged, "Pstore");
        hear(&O::si_SuRegistrationChanged, "Sreg");
        connect(&observer, &O::si_ResourcesChanged, this, [this](const ResourceOverview& overview) {
            add(QStringLiteral("all%1").arg(overview.GetTuner().size()));
        });
        connect(&observer, &O::si_ValueChanged, this, [this] { add(QStringLiteral("value")); });
    }

    QStringList log;
    std::function<void()> react; ///< runs once, at the next signal

private:
    template<class... State>
    void hear(void (O::*signal)(QString, State...), const char* name)
    {
        connect(&m_observer, signal, this, [this, name](const QString& id, State... state) {
            QString line = QLatin1String(name) + QLatin1Char(' ') + id;
            ((line += QLatin1Char(' ') + QString::number(state)), ...);
            add(line);
        });
    }
    void add(const QString& line)
    {
        log.append(line);
        if (const auto function = std::exchange(react, nullptr))
            function();
    }

    O& m_observer;
};

/// What the rules say about tuners, spelled out with nested loops, and what follows always.
QStringList expected(const QVector<Tuner>& before, const QVector<Tuner>& after)
{
    const auto id = [](const Tuner& tuner) { return tuner.GetTavikResource().GetGUID(); };
    const auto find = [&id](const QVector<Tuner>& list, const Tuner& wanted) {
        const auto same = [&](const Tuner& tuner) { return id(tuner) == id(wanted); };
        const auto it = std::find_if(list.begin(), list.end(), same);
        return it == list.end() ? nullptr : &*it;
    };
    QStringList log;
    int added = 0;
    for (const Tuner& tuner : after) {
        const Tuner* const old = find(before, tuner);
        added += old == nullptr;
        if (!old)
            log << QStringLiteral("+T ") + id(tuner);
        if (old && old->GetAccessible() != tuner.GetAccessible())
            log << QStringLiteral("access %1 %2").arg(id(tuner)).arg(tuner.GetAccessible());
        if (old && old->GetIdle() != tuner.GetIdle())
            log << QStringLiteral("idle %1 %2").arg(id(tuner)).arg(tuner.GetIdle());
    }
    for (const Tuner& tuner : before) {
        if (before.size() > after.size() - added && !find(after, tuner))
            log << QStringLiteral("-T ") + id(tuner);
    }
    return log << QStringLiteral("all%1").arg(after.size()) << QStringLiteral("value");
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

    void differencesInOrder()
    {
        const char* const cases[][3] = {
            {"T A 00", "T A 11", "access A 1, idle A 1"},
            {"P A 10", "P A 03", "Preg A 0, Pstore A 3"},
            {"T A 11, T B 11", "T C 11, T B 10", "+T C, idle B 0, -T A"},
            {"S A 1", "S B 1, S A 0", "+S B, Sreg A 0"},
            {"T A 11, T B 10", "T B 10, T A 11", ""},
            {"T A 11, P B 13, S C 1", "T D 11, P E 13, S F 1", "+T D, -T A, +P E, -P B, +S F, -S C"},
            {"P A 11, P B 11", "", "-P A, -P B"},
            {"T A 11", "P A 11", "-T A, +P A"},
            {"T a 11", "T A 11", "+T A, -T a"},
            // GUIDs that occur twice: the first one before counts, and a removal may hide behind the count.
            {"T A 11, T A 00", "T A 00", "access A 0, idle A 0"},
            {"T A 11, T A 01", "T A 11, T A 01, S X 1", "access A 0, +S X"},
            {"", "T A 11, T A 11", "+T A, +T A"},
            {"T A 11, T B 11", "T A 11, T A 11", ""},
            {"T A 11, T B 11, T A 00", "T B 11", "-T A, -T A"}};
        for (const auto& [before, after, changes] : cases) {
            KoltaResourceObserver observer(path);
            m_value->SetValue(overviewOf(QLatin1String(before)).GetXmlString());
            observer.FindResource(uuidA); // makes an index
            Recorder recorder(observer);
            const ResourceOverview overview = overviewOf(QLatin1String(after));
            m_value->SetValue(overview.GetXmlString());
            const QStringList log =
                QString::fromLatin1(changes).split(QStringLiteral(", "), Qt::SkipEmptyParts);
            const QString all = QStringLiteral("all%1").arg(overview.GetTuner().size());
            QCOMPARE(recorder.log, log + QStringList({all, QStringLiteral("value")}));
        }
    }

    void anyChangeAgreesWithTheRules()
    {
        const quint32 seed = std::random_device()();
        qInfo("seed %u", seed);
        std::mt19937 random(seed);
        const auto upTo = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
        KoltaResourceObserver observer(path);
        Recorder recorder(observer);
        QStringList guids;
        for (int round = 0; round < 300; ++round) {
            // Often the same places as before; otherwise names drawn from few, so that some occur twice, or
            // many.
            if (upTo(3) == 0) {
                guids.clear();
                for (int i = upTo(13), names = upTo(2) ? 8 : 200; i > 0; --i)
                    guids << QString::number(upTo(names));
            }
            QString entries;
            for (const QString& guid : qAsConst(guids))
                entries += QStringLiteral("T %1 %2%3, ").arg(guid).arg(upTo(2)).arg(upTo(2));
            ResourceOverview next = overviewOf(entries);
            next.SetNumberOfTuners(round); // a new text in any case
            const ResourceOverview previous = observer.GetCurrentResources();
            recorder.log.clear();
            m_value->SetValue(next.GetXmlString());
            QCOMPARE(recorder.log, expected(previous.GetTuner(), next.GetTuner()));
        }
    }

    void slotsMayDeleteTheObserverOrChangeTheValue()
    {
        auto observer = std::make_unique<KoltaResourceObserver>(path);
        Recorder recorder(*observer);
        recorder.react = [this] { m_value->SetValue(overviewOf(QStringLiteral("T C 11")).GetXmlString()); };
        m_value->SetValue(overviewOf(QStringLiteral("T A 11, T B 11")).GetXmlString());
        QCOMPARE(recorder.log.join(QLatin1Char(',')),
                 QStringLiteral("+T A,+T C,-T A,-T B,all1,value,+T B,all2,value"));
        recorder.log.clear();
        recorder.react = [&observer] { observer.reset(); };
        m_value->SetValue(overviewOf(QStringLiteral("T C 10, T D 11")).GetXmlString());
        QCOMPARE(recorder.log, QStringList{QStringLiteral("idle C 0")});
        QVERIFY(!m_value->HasObservers());
    }

    void lookUpsFollowTheirOrders()
    {
        ResourceOverview overview =
            overviewOf(QStringLiteral("P %1 11, S %1 1, T %2 11, P %2 11").arg(uuidA, uuidB));
        const QString name = QStringLiteral("one of several");
        TavikResource& unit = overview.EditProcessingUnit()[0].EditTavikResource();
        TavikResource& tuner = overview.EditTuner()[0].EditTavikResource();
        for (TavikResource* const named : {&unit, &tuner, &overview.EditStorageUnit()[0].EditTavikResource()})
            named->SetDisplayName(name);
        unit.SetAddress(QStringLiteral("hidden"));
        tuner.SetAddress(QStringLiteral("10.0.0.1"));
        KoltaResourceObserver observer;
        QVERIFY(observer.initForOffline(overview));
        const ResourceOverview& mirror = observer.GetCurrentResources();
        QCOMPARE(observer.FindResource(uuidA), &mirror.GetStorageUnit().at(0));
        QCOMPARE(observer.FindResourceAddress(uuidA), QString()); // the storage unit's, which has none
        QCOMPARE(observer.GetDisplayNameByGUID(uuidA), name);
        QCOMPARE(observer.FindResource(uuidB), &mirror.GetTuner().at(0));
        QCOMPARE(observer.FindResourceAddress(uuidB), QStringLiteral("10.0.0.1"));
        QCOMPARE(observer.GetGUIDForDisplayName(name), (QStringList{uuidB, uuidA, uuidA}));
        for (const QString& guid :
             {uuidA.toUpper(), QStringLiteral("no UUID"), QUuid().toString(), QString()})
            QVERIFY(!observer.FindResource(guid));

        // Answers are never about an overview that was there before.
        QVERIFY(observer.initForOffline(overviewOf(QStringLiteral("T %1 11").arg(uuidA))));
        QCOMPARE(observer.FindResource(uuidA), &mirror.GetTuner().at(0));
        QVERIFY(!observer.FindResource(uuidB));
        QVERIFY(observer.init(path));
        m_value->SetValue(overviewOf(QStringLiteral("T %1 11").arg(uuidB)).GetXmlString());
        QVERIFY(!observer.FindResource(uuidA));
        QCOMPARE(observer.FindResource(uuidB), &mirror.GetTuner().at(0));
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
        // Entries, what the second processing unit excludes, storage, application types.
        const std::tuple<QString, int, bool, const char*> cases[] = {
            {QString(), 0, false, ""},
            {QStringLiteral("P A 03, P B 12, S C 0, S D 2"), 0, false, ""},
            {QStringLiteral("P A 03, S C 1"), 0, true, ""},
            {usable, 0, true, "12345"},
            {usable, 1, true, "345"},
            {usable, 2, true, "1245"},
            {usable, 3, true, "1235"},
            {usable, 4, true, "1234"},
            {usable + QStringLiteral(", P C 13"), 1, true, "12345"}};
        for (const auto& [entries, exclusion, hasStorage, types] : cases) {
            ResourceOverview overview = overviewOf(entries);
            if (exclusion)
                overview.EditProcessingUnit()[1].SetExclusion(
                    {static_cast<ProcessingUnit::Exclusion>(exclusion)});
            KoltaResourceObserver observer;
            observer.initForOffline(overview);
            QCOMPARE(observer.hasStorage(), hasStorage);
            QString able;
            for (int type = -1; type <= 7; ++type) {
                if (observer.canSystemRunAppWithLocalStorage(static_cast<eAppType>(type)))
                    able += QString::number(type);
            }
            QCOMPARE(able, QLatin1String(types));
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
        for (const auto& [name, text, write] : writers) {
            const QString target = base + QLatin1Char('/') + name;
            values::Tree::Instance().Remove(target);
            write(); // nobody there
            QVERIFY(!values::Tree::Instance().Find(target));
            StringValue* const value = put(target);
            QStringList codes;
            Probe server(&codes);
            value->Attach(&server);
            write();
            write(); // the identical request is announced again
            QCOMPARE(value->GetValue(), text);
            QCOMPARE(codes, (QStringList{QStringLiteral("3"), QStringLiteral("3")}));
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
            QCOMPARE(value->GetValue().section(QLatin1Char('@'), 0, 1), QLatin1String(it.value()));
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
