#include <support/probe.h>
#include <support/signalrecorder.h>
#include <support/test.h>

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltatunertypeobserver.h>
#include <koltacommon/powercontrolcmd.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tavikresourceconverter.h>
#include <koltacommon/tunerbookingmanager.h>

#include <resourcemodel/requests.h>

#include <atomic>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString base = "/S1/ADMINISTRATION"_s;
const QString path = base + "/Resources"_s;

/// "T A 10" is tuner A, accessible and not idle; "P B 13" processing unit B with registration 1 and local
/// storage 3; "S C 1" storage unit C, registered. Entries are separated by ", ".
ResourceOverview overviewOf(const QString& entries)
{
    ResourceOverview overview;
    for (const QString& entry : entries.split(", "_s, Qt::SkipEmptyParts)) {
        const QStringList parts = entry.split(QLatin1Char(' '));
        const auto state = [&parts](int i) { return parts.at(2).at(i).digitValue(); };
        const auto append = [&parts](auto& list) -> auto&
        {
            list.resize(list.size() + 1);
            list.last().EditTavikResource().SetGUID(parts.at(1));
            return list.last();
        };
        if (parts.at(0) == "T"_s) {
            Tuner& tuner = append(overview.EditTuner());
            tuner.SetAccessible(state(0));
            tuner.SetIdle(state(1));
        } else if (parts.at(0) == "P"_s) {
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

const SignalRecorder::Forms forms{{"si_NewTuner", "+T %1"_s},
                                  {"si_RemovedTuner", "-T %1"_s},
                                  {"si_NewPU", "+P %1"_s},
                                  {"si_RemovedPU", "-P %1"_s},
                                  {"si_NewSU", "+S %1"_s},
                                  {"si_RemovedSU", "-S %1"_s},
                                  {"si_TunerAccessiblityChanged", "access %1 %2"_s},
                                  {"si_TunerIdleStateChanged", "idle %1 %2"_s},
                                  {"si_PuRegistrationChanged", "Preg %1 %2"_s},
                                  {"si_PuLocalStorageChanged", "Pstore %1 %2"_s},
                                  {"si_SuRegistrationChanged", "Sreg %1 %2"_s},
                                  {"si_ResourcesChanged", "all%1"_s},
                                  {"si_ValueChanged", "value"_s}};

/// Every signal of an observer; flags as numbers, overviews by their tuners.
class Recorder : public SignalRecorder
{
public:
    explicit Recorder(const KoltaResourceObserver& observer)
    {
        write<bool>([](bool state) { return QString::number(state); });
        write<ResourceOverview>(
            [](const ResourceOverview& overview) { return QString::number(overview.GetTuner().size()); });
        hear(observer, forms);
    }
};

const QString uuidA = "{0f2d5c1e-6d0a-4a53-9c1b-00000000000a}"_s;
const QString uuidB = "{0f2d5c1e-6d0a-4a53-9c1b-00000000000b}"_s;

} // namespace

class TestKoltaResourceObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_value = put(path); }
    void cleanup() { values::Tree::Instance().Clear(); }

    /// First of all, so that nothing else has registered the types of the arguments.
    void signalsTravelBetweenThreads()
    {
        const KoltaResourceObserver observer(path);
        const KoltaProcessorObserver processors;
        const KoltaTunerTypeObserver tunerTypes;
        const ResourceDemandClassObserver demandClasses;
        const KoltaOwnerObserver owners;
        const TunerBookingManager manager;
        for (const QObject* const sender : std::initializer_list<const QObject*>{
                 &observer, &processors, &tunerTypes, &demandClasses, &owners, &manager}) {
            const QMetaObject& type = *sender->metaObject();
            for (int i = 0; i < type.methodCount(); ++i) {
                if (type.method(i).methodType() != QMetaMethod::Signal ||
                    type.method(i).enclosingMetaObject() == &QObject::staticMetaObject)
                    continue;
                for (const QByteArray& argument : type.method(i).parameterTypes())
                    QVERIFY2(argument.endsWith('*') || QMetaType::type(argument) != QMetaType::UnknownType,
                             type.method(i).methodSignature());
            }
        }

        QThread thread;
        QObject receiver;
        receiver.moveToThread(&thread);
        std::atomic<int> tuners{0};
        connect(&observer, &KoltaResourceObserver::si_ResourcesChanged, &receiver,
                [&tuners](const ResourceOverview& overview) { tuners = overview.GetTuner().size(); });
        thread.start();
        m_value->SetValue(overviewOf("T A 11, T B 11"_s).GetXmlString());
        QTRY_COMPARE(tuners.load(), 2);
        thread.quit();
        QVERIFY(thread.wait());
    }

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
            recorder.taken();
            const ResourceOverview overview = overviewOf(QLatin1String(after));
            m_value->SetValue(overview.GetXmlString());
            const QStringList log = QString::fromLatin1(changes).split(", "_s, Qt::SkipEmptyParts);
            const QString all = "all%1"_s.arg(overview.GetTuner().size());
            QCOMPARE(recorder.lines(), log + QStringList({all, "value"_s}));
        }
    }

    void slotsMayDeleteTheObserverOrChangeTheValue()
    {
        auto observer = std::make_unique<KoltaResourceObserver>(path);
        Recorder recorder(*observer);
        recorder.react = [this] { m_value->SetValue(overviewOf("T C 11"_s).GetXmlString()); };
        m_value->SetValue(overviewOf("T A 11, T B 11"_s).GetXmlString());
        QCOMPARE(recorder.taken(","_s), "+T A,+T C,-T A,-T B,all1,value,+T B,all2,value"_s);
        recorder.taken();
        recorder.react = [&observer] { observer.reset(); };
        m_value->SetValue(overviewOf("T C 10, T D 11"_s).GetXmlString());
        QCOMPARE(recorder.taken(), "idle C 0"_s);
        QVERIFY(!m_value->HasObservers());
    }

    void lookUpsFollowTheirOrders()
    {
        ResourceOverview overview = overviewOf("P %1 11, S %1 1, T %2 11, P %2 11"_s.arg(uuidA, uuidB));
        const QString name = "one of several"_s;
        TavikResource& unit = overview.EditProcessingUnit()[0].EditTavikResource();
        TavikResource& tuner = overview.EditTuner()[0].EditTavikResource();
        for (TavikResource* const named : {&unit, &tuner, &overview.EditStorageUnit()[0].EditTavikResource()})
            named->SetDisplayName(name);
        unit.SetAddress("hidden"_s);
        tuner.SetAddress("10.0.0.1"_s);
        KoltaResourceObserver observer;
        QVERIFY(observer.initForOffline(overview));
        const ResourceOverview& mirror = observer.GetCurrentResources();
        QCOMPARE(observer.FindResource(uuidA), &mirror.GetStorageUnit().at(0));
        QCOMPARE(observer.FindResourceAddress(uuidA), QString()); // the storage unit's, which has none
        QCOMPARE(observer.FindResourceAddress(uuidB), "10.0.0.1"_s);
        QCOMPARE(observer.GetDisplayNameByGUID(uuidA), name);
        QCOMPARE(observer.GetGUIDForDisplayName(name), (QStringList{uuidB, uuidA, uuidA}));
        for (const QString& guid : {uuidA.toUpper(), "no UUID"_s, QUuid().toString(), QString()})
            QVERIFY(!observer.FindResource(guid));

        // Answers are never about an overview that was there before.
        QVERIFY(observer.init(path));
        m_value->SetValue(overviewOf("T %1 11"_s.arg(uuidB)).GetXmlString());
        QVERIFY(!observer.FindResource(uuidA));
        QCOMPARE(observer.FindResource(uuidB), &mirror.GetTuner().at(0));
    }

    void freeTunersAndDetection()
    {
        ResourceOverview overview = overviewOf("T A 10, T B 01, T C 11, T D 11"_s);
        const char* const options[] = {"x vrtq,SP", "O2", "VRTQ", "o2 Vrtq"};
        for (int i = 0; i < 4; ++i) {
            overview.EditTuner()[i].SetType("wide"_s);
            overview.EditTuner()[i].SetOptions(QLatin1String(options[i]));
        }
        overview.EditTuner()[3].SetType("narrow"_s);
        KoltaResourceObserver observer;
        observer.initForOffline(overview);
        QCOMPARE(observer.GetGUIDForFreeTuner("wide"_s), "C"_s);
        QCOMPARE(observer.GetGUIDForFreeTuner("D"_s), "D"_s);
        QString detecting;
        for (const char* const id : {"A", "B", "C", "D", "E"}) {
            if (observer.supportsDetection(QLatin1String(id)))
                detecting += QLatin1String(id);
        }
        QCOMPARE(detecting, "AD"_s);
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
        const ResourceOverview changed = overviewOf("T A 11"_s);
        const QString xml = changed.GetXmlString();
        TunerManagementRequest request;
        request.SetRequestID(uuidA);
        const std::tuple<const char*, QString, std::function<void()>> writers[] = {
            {"/ChangedTuners", xml, [&] { observer.setChangedTuners(changed); }},
            {"/ChangedTuners", request.GetXmlString(), [&] { observer.setChangedTuners(request); }},
            {"/ChangedPUs", xml, [&] { observer.setChangedProcessingUnits(changed); }},
            {"/ChangedSUs", xml, [&] { observer.setChangedStorageUnits(changed); }},
            {"/UnitPowerControl", "3@0@A"_s,
             [&] { observer.powerControl(KoltaResourceObserver::eProgramsOff, "A"_s); }},
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
            QCOMPARE(codes.join(QString()), text.isEmpty() ? QString() : "33"_s);
            values::Tree::Instance().Remove(target);
            write(); // only its tombstone is left
            QCOMPARE(value->GetValue(), QString());
        }
    }

    void powerControlCommands()
    {
        StringValue* const value = put(base + "/UnitPowerControl"_s);
        KoltaResourceObserver observer(path);
        const QMap<int, const char*> forms{{0, "1@1"}, {1, "1@0"}, {2, "0@1"}, {3, "0@0"}, {4, "2@1"},
                                           {5, "2@0"}, {6, "3@0"}, {7, "4@0"}, {8, "1@1"}, {-1, "1@1"}};
        const QStringList units{"A@x"_s, "%2C,B"_s};
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
        const ResourceOverview overview = overviewOf("T A 11"_s);
        QVERIFY(observer.createResourceConverter()->SetResourceOverview(overview));
        QVERIFY(observer.GetCurrentResources() == overview);
    }

private:
    StringValue* m_value = nullptr;
};

KOLTA_TEST(TestKoltaResourceObserver);
#include "tst_koltaresourceobserver.moc"
