#include "processorsamples.h"
#include <support/probe.h>
#include <support/test.h>

#include <koltacommon/hardwareprocessingcontroller.h>
#include <koltacommon/hardwareprocessingobserver.h>

using namespace Kolta;
using namespace ProcessorSamples;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString processorsPath = "/S1/ADMINISTRATION/ActualConfiguration"_s;
const QString hwPath = "/S1/ADMINISTRATION/HardwareProcessing"_s;

HWProcessing entry(const char* id, const QString& type = "T"_s)
{
    HWProcessing result;
    if (qstrcmp(id, "-") != 0)
        result.SetGUID(QLatin1String(id));
    result.SetType(type);
    return result;
}

/// The text of "A B -", the list of the entries A, B and one without GUID; not quite as the model writes it,
/// so that whoever writes the list, changed or not, changes the text.
QString textOf(const QString& ids)
{
    HWProcessingOverview list;
    for (const QString& id : ids.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        list.EditHWProcessing().append(entry(id.toLatin1()));
    return QLatin1Char(' ') + list.GetXmlString();
}

QString idsIn(const QString& text)
{
    HWProcessingOverview list;
    QStringList ids(TavikXmlHelpers::parseResourceManagementObject(list, text));
    for (const HWProcessing& item : list.GetHWProcessing())
        ids += item.IsGUIDSet() ? item.GetGUID() : "-"_s;
    return ids.join(QLatin1Char(' ')).trimmed();
}

QString ids(std::initializer_list<int> numbers)
{
    QStringList list;
    for (const int number : numbers)
        list += guid(number);
    return list.join(QLatin1Char(' '));
}

class Observer : public HardwareProcessingObserver
{
public:
    using HardwareProcessingObserver::HardwareProcessingObserver;
    using HardwareProcessingObserver::removeHardwareProcessingInfoNoPersist;
};

} // namespace

class TestHardwareProcessing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_processors = values::Tree::Instance().Emplace<StringValue>(processorsPath);
        m_list = values::Tree::Instance().Emplace<StringValue>(hwPath);
        m_list->Attach(&m_server);
        Startup::ErrorHandler::Instance().setMask(~0U);
    }
    void cleanup() { values::Tree::Instance().Clear(); }

    /// What every operation makes of a list, and whether it writes it.
    void operations()
    {
        using Operation = std::function<bool(Observer&)>;
        const auto append = [](const auto& item) { // an entry, or a shared one
            return [item](Observer& o) { return o.appendHardwareProcessingInfo(item), true; };
        };
        const auto remove = [](const char* id) {
            return [id](Observer& o) { return o.removeHardwareProcessingInfo(QLatin1String(id)); };
        };
        const auto removeFirst = [](Observer& o) { // with a GUID that dies with its entry
            return o.removeHardwareProcessingInfo(
                o.getActiveHWProcessors().GetHWProcessing().at(0).GetGUID());
        };
        const auto removeSilently = [](Observer& o) {
            const QString id = "A"_s;
            return o.removeHardwareProcessingInfoNoPersist(id) && !o.findActiveHWProcessors(id);
        };
        const auto synchronize = [](const char* known) {
            return [known](Observer& o) {
                const QStringList guids = QString::fromLatin1(known).split(QLatin1Char(' '));
                return o.synchronizeKnownProcessors(QSet<QString>(guids.begin(), guids.end())), true;
            };
        };
        const auto reset = [](Observer& o) { return o.resetHardwareProcessingList(), true; };
        const std::tuple<const char*, Operation, bool, const char*, int> cases[] = {
            {"A", append(entry("B")), true, "A B", 1},
            {"A B", append(entry("A", "other"_s)), true, "A B", 0},
            {"A", append(entry("-")), true, "A", 0},
            {"A", append(std::shared_ptr<HWProcessing>()), true, "A", 0},
            {"", append(std::make_shared<HWProcessing>(entry("A"))), true, "A", 1},
            {"A B C", remove("B"), true, "A C", 1},
            {"A B A - C", remove("A"), true, "B - C", 1}, // a double goes as well
            {"A - B", remove(""), false, "A - B", 0},
            {"A B", removeFirst, true, "B", 1},
            {"A B", removeSilently, true, "A B", 0},
            {"A B", reset, true, "", 1},
            {"A B C A -", synchronize("B X"), true, "B -", 1},
            {"A B", synchronize("B A"), true, "A B", 1}, // always written
            {"A", synchronize(""), true, "", 1}};
        for (const auto& [before, operation, result, after, writes] : cases) {
            const QString text = textOf(QLatin1String(before));
            m_list->SetValue(text);
            Observer observer(hwPath);
            QSignalSpy echo(&observer, &IValueChangeNotifier::si_ValueChanged);
            m_codes.clear();
            QCOMPARE(operation(observer), result);
            QCOMPARE(m_codes.size(), writes);
            QCOMPARE(idsIn(m_list->GetValue()), QLatin1String(after));
            QCOMPARE(echo.size(), 0);
            if (writes == 0)
                continue;
            QCOMPARE(observer.getActiveHWProcessorsAsString(), m_list->GetValue());
            m_list->SetValue(text); // the server can go back to what was there before, and is heard
            QCOMPARE(idsIn(observer.getActiveHWProcessorsAsString()), QLatin1String(before));
        }
    }

    void entriesThatCannotBeWritten()
    {
        m_list->SetValue(textOf("A"_s));
        const QString before = m_list->GetValue();
        Observer observer(hwPath);
        Startup::TraceRecorder traces;
        observer.appendHardwareProcessingInfo(entry("B", QString(QChar(1))));
        QCOMPARE(m_list->GetValue(), before);
        QCOMPARE(traces.records().size(), 1);
        QCOMPARE(traces.records().at(0).text,
                 "Invalid HW Processing element.HWProcessingOverview/HWProcessing[2]/Type holds a "
                 "character that XML cannot carry (U+0001 at position 0)"_s);
        observer.appendHardwareProcessingInfo(entry("C")); // not held up by the bad one
        QCOMPARE(idsIn(m_list->GetValue()), "A C"_s);
    }

    void listenersMayDeleteTheObserver()
    {
        m_list->SetValue(textOf("A B"_s));
        auto observer = std::make_unique<Observer>(hwPath);
        m_server.action = [&observer](Observable*, TChangeCode) { observer.reset(); };
        QVERIFY(observer->removeHardwareProcessingInfo("A"_s) && !observer);
        m_server.action = nullptr;
        auto controller = std::make_unique<HardwareProcessingController>();
        connect(&controller->getHWProcessingObserver(), &IValueChangeNotifier::si_ValueChanged, this,
                [&controller] { controller.reset(); });
        QVERIFY(!controller->init(processorsPath, hwPath) && !controller);
    }

    void listFollowsProcessors()
    {
        m_processors->SetValue(xmlOf("M1 M2 M3 S4"_s));
        m_list->SetValue(textOf(ids({1, 2, 4, 5, 6})));
        Startup::TraceRecorder traces;
        HardwareProcessingController controller;
        QVERIFY(controller.init(processorsPath, hwPath));
        QVERIFY(controller.init(processorsPath, hwPath)); // everything still happens once
        m_codes.clear();
        controller.sl_RunningProcessorsChanged(overviewOf("S4"_s));
        m_processors->SetValue(xmlOf(QString())); // for a moment
        QVERIFY(m_codes.isEmpty());
        QCOMPARE(idsIn(m_list->GetValue()), ids({1, 2, 4, 5, 6}));
        // Only MCPs keep entries: 4 is an SCP and 5 an FFP.
        m_processors->SetValue(xmlOf("M1(f5) M3 S4"_s));
        QCOMPARE(idsIn(m_list->GetValue()), ids({1}));
        QCOMPARE(m_codes.size(), 2);           // 2 stopped, then everything else that is unknown
        m_processors->SetValue(xmlOf("S4"_s)); // the others go on, so this is not for a moment
        QCOMPARE(idsIn(m_list->GetValue()), QString());
        m_list->SetValue(textOf(ids({1})));
        controller.sl_AllProcessorsStopped();
        QCOMPARE(m_list->GetValue(), HWProcessingOverview().GetXmlString());

        for (const int number : {1, 2, 3, 5})
            QCOMPARE(traces.count("sl_ProcessorStopped for guid "_s + guid(number)), 1);
        QCOMPARE(traces.count("HardwareProcessingController::sl_AllProcessorsStopped"_s), 1);
        QCOMPARE(traces.records().size(), 2 + 4 + 1);
        QVERIFY(!controller.init(processorsPath, "/none"_s));
    }

    void manyStopsAreOneWrite()
    {
        HardwareProcessingController controller;
        QVERIFY(controller.init(processorsPath, hwPath));
        for (const char* left : {"S9", ""}) {
            m_processors->SetValue(xmlOf("M1 M2 M3"_s));
            m_list->SetValue(textOf(ids({1, 2, 3})));
            m_codes.clear();
            m_processors->SetValue(xmlOf(QLatin1String(left)));
            QTRY_COMPARE(m_list->GetValue(), HWProcessingOverview().GetXmlString());
            QCOMPARE(m_codes.size(), 1);
        }
    }

private:
    StringValue* m_processors = nullptr;
    StringValue* m_list = nullptr;
    QStringList m_codes;
    Probe m_server{&m_codes};
};

KOLTA_TEST(TestHardwareProcessing);
#include "tst_hardwareprocessing.moc"
