#include "../values/probe.h"

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/powercontrolcmd.h>
#include <koltacommon/tavikresourceconverter.h>

#include <resourcemodel/requests.h>

#include <QtTest>

#include <functional>

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
            {"P A 10", "P A 03", "Preg A 0, Pstore A 3"},
            {"T A 11, T B 11", "T C 11, T B 10", "+T C, idle B 0, -T A"},
            {"S A 1", "S B 1, S A 0", "+S B, Sreg A 0"},
            {"T A 11, T B 10", "T B 10, T A 11", ""},
            {"T B 10, T A 10, T D 11", "T A 11, T D 11, T C 11", "idle A 1, +T C, -T B"},
            {"T A 11, P B 13, S C 1", "T D 11, P E 13, S F 1", "+T D, -T A, +P E, -P B, +S F, -S C"},
            {"T A 11", "P A 11", "-T A, +P A"},
            {"T a 11", "T A 11", "+T A, -T a"},
            // GUIDs that occur twice: the first one before counts, and a removal may hide behind the count.
            {"T A 11, T A 00", "T A 00", "access A 0, idle A 0"},
            {"T A 11, T A 01", "T A 11, T A 01, S X 1", "access A 0, +S X"},
            {"T A 11, T B 11", "T A 11, T A 11", ""},
            {"T A 11, T B 11, T A 00", "T B 11", "-T A, -T A"}};
        // One observer for all, so that what it keeps of earlier overviews would show.
        KoltaResourceObserver observer(path);
        Recorder recorder(observer);
        for (const auto& [before, after, changes] : cases) {
            m_value->SetValue(overviewOf(QLatin1String(before)).GetXmlString());
            recorder.log.clear();
            const ResourceOverview overview = overviewOf(QLatin1String(after));
            m_value->SetValue(overview.GetXmlString());
            const QStringList log =
                QString::fromLatin1(changes).split(QStringLiteral(", "), Qt::SkipEmptyParts);
            const QString all = QStringLiteral("all%1").arg(overview.GetTuner().size());
            QCOMPARE(recorder.log, log + QStringList({all, QStringLiteral("value")}));
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
        QCOMPARE(observer.FindResourceAddress(uuidB), QStringLiteral("10.0.0.1"));
        QCOMPARE(observer.GetDisplayNameByGUID(uuidA), name);
        QCOMPARE(observer.GetGUIDForDisplayName(name), (QStringList{uuidB, uuidA, uuidA}));
        for (const QString& guid :
             {uuidA.toUpper(), QStringLiteral("no UUID"), QUuid().toString(), QString()})
            QVERIFY(!observer.FindResource(guid));

        // Answers are never about an overview that was there before.
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
        QString detecting;
        for (const char* const id : {"A", "B", "C", "D", "E"}) {
            if (observer.supportsDetection(QLatin1String(id)))
                detecting += QLatin1String(id);
        }
        QCOMPARE(detecting, QStringLiteral("AD"));
    }

    void storage()
    {
        // Entries; what the second processing unit excludes; whether there is storage; for which types.
        const std::tuple<const char*, int, bool, const char*> cases[] = {
            {"", 0, false, ""},
            {"P A 03, P B 12, S C 0, S D 2", 0, false, ""},
            {"P A 03, S C 1", 0, true, ""},
            {"P A 01, P B 13", 0, true, "12345"},
            {"P A 01, P B 13", 1, true, "345"},
            {"P A 01, P B 13", 2, true, "1245"},
            {"P A 01, P B 13", 3, true, "1235"},
            {"P A 01, P B 13", 4, true, "1234"},
            {"P A 01, P B 13, P C 13", 1, true, "12345"}};
        KoltaResourceObserver observer;
        for (const auto& [entries, exclusion, hasStorage, types] : cases) {
            ResourceOverview overview = overviewOf(QLatin1String(entries));
            if (exclusion)
                overview.EditProcessingUnit()[1].SetExclusion({ProcessingUnit::Exclusion(exclusion)});
            observer.initForOffline(overview);
            QCOMPARE(observer.hasStorage(), hasStorage);
            QString able;
            for (int type = -1; type <= 7; ++type) {
                if (observer.canSystemRunAppWithLocalStorage(eAppType(type)))
                    able += QString::number(type);
            }
            QCOMPARE(able, QLatin1String(types));
        }
    }

    void writersReachTheirValues()
    {
        KoltaResourceObserver observer(path);
        const ResourceOverview changed = overviewOf(QStringLiteral("T A 11"));
        const QString xml = changed.GetXmlString();
        TunerManagementRequest request;
        request.SetRequestID(uuidA);
        const std::tuple<const char*, QString, std::function<void()>> writers[] = {
            {"/ChangedTuners", xml, [&] { observer.setChangedTuners(changed); }},
            {"/ChangedTuners", request.GetXmlString(), [&] { observer.setChangedTuners(request); }},
            {"/ChangedPUs", xml, [&] { observer.setChangedProcessingUnits(changed); }},
            {"/ChangedSUs", xml, [&] { observer.setChangedStorageUnits(changed); }},
            {"/UnitPowerControl", QStringLiteral("3@0@A"),
             [&] { observer.powerControl(KoltaResourceObserver::eProgramsOff, QStringLiteral("A")); }},
            {"/UnitPowerControl", QString(),
             [&] { observer.powerControl(KoltaResourceObserver::eUnitOff, QStringList()); }}};
        for (const auto& [name, text, write] : writers) {
            const QString target = base + QLatin1String(name);
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
            QCOMPARE(codes.join(QString()), text.isEmpty() ? QString() : QStringLiteral("33"));
            values::Tree::Instance().Remove(target);
            write(); // only its tombstone is left
            QCOMPARE(value->GetValue(), QString());
        }
    }

    void powerControlCommands()
    {
        StringValue* const value = put(base + QStringLiteral("/UnitPowerControl"));
        KoltaResourceObserver observer(path);
        const QMap<int, const char*> forms{{0, "1@1"}, {1, "1@0"}, {2, "0@1"}, {3, "0@0"}, {4, "2@1"},
                                           {5, "2@0"}, {6, "3@0"}, {7, "4@0"}, {8, "1@1"}, {-1, "1@1"}};
        const QStringList units{QStringLiteral("A@x"), QStringLiteral("%2C,B")};
        for (auto it = forms.begin(); it != forms.end(); ++it) {
            observer.powerControl(KoltaResourceObserver::ePowerControlCommand(it.key()), units);
            QCOMPARE(value->GetValue().section(QLatin1Char('@'), 0, 1), QLatin1String(it.value()));
            const auto command = PowerControlCmd::fromString(value->GetValue());
            QVERIFY(command);
            QCOMPARE(command->units(), units);
            QCOMPARE(command->toString(), value->GetValue());
        }
        for (const char* const text :
             {"", "1", "1@1", "1@1@", "5@1@A", "1@2@A", "1@on@A", "@1@A", "1@1@A,", "10@1@A"})
            QVERIFY2(!PowerControlCmd::fromString(QLatin1String(text)), text);
    }

    void converterWritesWhatTheObserverMirrors()
    {
        KoltaResourceObserver observer(path);
        const ResourceOverview overview = overviewOf(QStringLiteral("T A 11"));
        QVERIFY(observer.createResourceConverter()->SetResourceOverview(overview));
        QVERIFY(observer.GetCurrentResources() == overview);
    }

private:
    StringValue* m_value = nullptr;
};

QTEST_GUILESS_MAIN(TestKoltaResourceObserver)
#include "tst_koltaresourceobserver.moc"
