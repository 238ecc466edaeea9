#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/messagejoin.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerplan.h>
#include <support/test.h>

#include <resourcemodel/processors.h>
#include <startup/errorhandler.h>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using Manager = TunerBookingManager;

namespace {

/// "A0 B1 C2": tuners A free, B in use and C inaccessible; "0" is a free tuner without GUID.
ResourceOverview overviewOf(const QString& entries)
{
    ResourceOverview overview;
    for (const QString& entry : entries.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        Tuner tuner;
        tuner.EditTavikResource().SetGUID(entry.chopped(1));
        tuner.SetAccessible(!entry.endsWith(QLatin1Char('2')));
        tuner.SetIdle(!entry.endsWith(QLatin1Char('1')));
        overview.EditTuner().append(tuner);
    }
    return overview;
}

/// An object from its XML form, where "[A]" is an FFP with tuner A and "{A}" a data source with tuner A.
template<class T>
T made(QString content)
{
    const QString tuner = "<%1><TunerGUID>\\1</TunerGUID></%1>"_s;
    content.replace(QRegularExpression("\\[(\\w*)\\]"_s), tuner.arg("FFP"_s));
    content.replace(QRegularExpression("\\{(\\w*)\\}"_s), tuner.arg("DataSource"_s));
    T object;
    object.SetXmlString("<%1>%2</%1>"_s.arg(object.GetObjectName(), content), true);
    return object;
}

/// A manager under commands, and what comes of them.
struct Desk
{
    Desk()
    {
        const auto heard = [this](const QString& guid, int before, int after) {
            log += guid + QString::number(before) + QString::number(after) + QLatin1Char(' ');
            if (const auto run = std::exchange(react, nullptr))
                run();
        };
        QObject::connect(manager.get(), &Manager::si_TunerStateChanged, heard);
    }

    /// "see <overview>" yields the changes, the others their messages, each "|" being a separator.
    QString run(const QString& command)
    {
        const QString verb = command.section(QLatin1Char(' '), 0, 0);
        const QString rest = command.section(QLatin1Char(' '), 1);
        QString ffps = rest;
        const Manager::Booking booking(made<DSC>(ffps.replace(QRegularExpression("(\\w)"_s), "[\\1]"_s)));
        QString error = text;
        bool ok = true;
        if (verb == "see"_s)
            return see(rest);
        else if (verb == "tuner"_s)
            ok = manager->planTuner(rest, error);
        else if (verb == "plan"_s)
            ok = manager->planProductions(booking, error);
        else if (verb == "verify"_s)
            ok = manager->verifyBooking(booking, error);
        else if (verb == "undo"_s)
            manager->undoProductionPlanning(booking);
        else
            manager->clearPlanning();
        if (ok != (error == text))
            return "result and messages differ"_s;
        return error.replace(kMessageSeparator, QLatin1Char('|'));
    }

    QString see(const QString& entries)
    {
        log.clear();
        manager->sl_updateTuners(overviewOf(entries));
        return log;
    }

    /// The states of tuners A to F.
    QString states() const
    {
        QString all;
        for (const char* const name : {"A", "B", "C", "D", "E", "F"})
            all += QString::number(manager->getTunerState(QLatin1String(name)));
        return all;
    }

    std::unique_ptr<Manager> manager = std::make_unique<Manager>();
    QString text;                ///< what error texts hold before
    QString log;                 ///< changes
    std::function<void()> react; ///< runs once, at the next change
};

} // namespace

class TestTunerBookingManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// What is not looked into because it is the former record, wherever it stands now, makes no difference.
    void sharedRecordsGiveTheSame()
    {
        QRandomGenerator random(testSeed());
        Desk sharing;
        Desk plain;
        ResourceOverview overview;
        for (int round = 0; round < 2000; ++round) {
            const QString name(QChar('A' + random.bounded(24)));
            QVector<Tuner>& tuners = overview.EditTuner();
            const int at = random.bounded(tuners.size() + 1);
            if (tuners.size() > 8 || (at < tuners.size() && random.bounded(3) == 0))
                tuners.removeAt(qMin(at, tuners.size() - 1));
            if (at < tuners.size() && random.bounded(2) == 0)
                tuners[at].SetIdle(!tuners.at(at).GetIdle());
            else
                tuners.insert(qMin(at, tuners.size()),
                              overviewOf(name + QString::number(random.bounded(3))).GetTuner().first());
            ResourceOverview copy;
            copy.SetXmlString(overview.GetXmlString(), true);
            for (Desk* const desk : {&sharing, &plain}) {
                desk->log.clear();
                desk->run("tuner "_s + name);
                desk->manager->sl_updateTuners(desk == &sharing ? overview : copy);
            }
            QCOMPARE(sharing.log, plain.log);
            QCOMPARE(sharing.states(), plain.states());
        }
    }

    void statesAndMessages()
    {
        const char* const steps[][3] = {
            {"tuner A", "No Tuner with GUID A exists", "222222"},
            {"see A0 B1 C2 D0 0", "B01 C02 ", "012022"}, // absent counts as free
            {"tuner ", "No Tuner with GUID  exists", "012022"},
            {"tuner A", "", "312022"}, // also one that was never anything but free
            {"tuner A", "Tuner with GUID A is already planned.", "312022"},
            {"tuner B", "Tuner with GUID B is already in use.", "312022"},
            {"tuner C", "Tuner with GUID C is inaccessiblealready planned.", "312022"},
            {"see D0 B1 C2 A0", "", "312022"}, // idle: stays planned
            {"see D1 B0 C1 A1", "D01 B10 C21 A31 ", "101122"},
            {"see A0 B0 C1 D2", "A10 D12 ", "001222"},
            {"verify AZDB",
             "Tuner with GUID Z is inaccessiblealready planned.|Tuner with GUID D is "
             "inaccessiblealready planned.",
             "001222"},
            {"plan AZDB", "No Tuner with GUID Z exists|Tuner with GUID D is inaccessiblealready planned.",
             "331222"}, // those behind a failure too, and they stay
            {"undo BCDZ", "", "301222"},
            {"see C0 E1", "C10 E01 ", "320212"}, // A, B and D vanished: only what was free is unknown
            {"see A0 B0 D0", "D20 ", "302012"},
            {"see A2 B0 D0", "A32 ", "202012"},
            {"plan BD", "", "232312"},
            {"clear", "", "202012"},
            {"see F0 F2 F1 %21 1", "F02 F21 %201 ", "222211"}, // the last of several; no GUID, no state
            {"see F0 F2 F1 %20 2", "F10 F02 F21 %210 ", "222211"},
            {"see %21", "%201 ", "222211"},
            {"tuner %2", "Tuner with GUID %2 is already in use.", "222211"}};
        Desk desk;
        for (const auto& [command, result, states] : steps) {
            QCOMPARE(desk.run(QLatin1String(command)), QLatin1String(result));
            QCOMPARE(desk.states(), QLatin1String(states));
            const int other = desk.manager->getTunerState("%2"_s) == 0 ? 1 : 0;
            QCOMPARE(desk.manager->getNumberOfFreeTuners(), desk.states().count(QLatin1Char('0')) + other);
            QCOMPARE(desk.manager->getFreeTuners().size(), desk.manager->getNumberOfFreeTuners());
        }
        for (const QString& text : {"A"_s, QString("A"_s + kMessageSeparator)}) {
            desk.text = text;
            for (const char* const verb : {"tuner", "plan"})
                QCOMPARE(desk.run(QLatin1String(verb) + " Z"_s), "A|No Tuner with GUID Z exists"_s);
        }
    }

    void bookings()
    {
        // One tuner at each place, A being shared; the FFP of an SCP does not count.
        const auto overview = made<ProcessorOverview>(
            "<SCP>{A}[X]<FHP>[H]</FHP><DSC>[G]</DSC></SCP><MCP>{F}<FHP>[D][E]</FHP><DSC/><DSC>[C][A]</"
            "DSC>[A][B]<FFP/>[][none]"
            "<KoltaProcessor><TavikResource><Name>line\none</Name></TavikResource></KoltaProcessor></MCP>"_s);
        const MCP& mcp = overview.GetMCP()[0];
        const std::pair<const REPORTGENERATOR::IRGObject&, const char*> cases[] = {
            {overview, "ABCDEFGHA"}, {mcp, "ABCDEF"},         {overview.GetSCP()[0], "GHA"},
            {mcp.GetDSC()[1], "CA"}, {mcp.GetFHP()[0], "DE"}, {mcp.GetFFP()[1], "B"},
            {mcp.GetDSC()[0], ""}};
        for (const auto& [object, tuners] : cases) {
            const Manager::Booking booking(object);
            QVERIFY(booking.isValid());
            QCOMPARE(booking.getTunerGUIDs().join(QString()), QLatin1String(tuners));
        }
        QCOMPARE(Manager::Booking(overview).getName(), "Overview"_s);
        QVERIFY(Manager::Booking(mcp).toString().startsWith(
            "Booking[name: line one, valid: true, tuner: A, tuner: B, "_s));

        // Two productions of one overview cannot share a tuner; verifying tells it as planning does.
        Desk desk;
        desk.run("see A0 B0 C0 D0 E0 F0 G0 H0"_s);
        const auto both = [&desk](const REPORTGENERATOR::IRGObject& object) {
            QString verified;
            QString planned;
            const bool good = desk.manager->verifyBooking(object, verified);
            const bool same = desk.manager->planProductions(object, planned) == good && planned == verified;
            return same && good == planned.isEmpty() ? planned : "differ"_s;
        };
        QCOMPARE(both(overview), "Tuner with GUID A is already planned."_s);
        desk.manager->undoProductionPlanning(overview);
        QCOMPARE(both(mcp), QString());
        const Startup::TraceRecorder traces;
        QCOMPARE(both(Tuner()), "Invalid type of IRGObject passed."_s);
        QCOMPARE(both(FHA()), "Invalid type of IRGObject passed."_s);
        QCOMPARE(traces.count("Invalid IRG Object of type Tuner provided"_s), 2);
        QCOMPARE(traces.count("Invalid IRG Object of type FHA provided"_s), 2);
    }

    void receiversMayDoAnything()
    {
        Desk desk;
        // All states are in place before the first announcement, and a plan in between is kept.
        desk.react = [&desk] { QVERIFY(!desk.run("plan CB"_s).isEmpty()); };
        QCOMPARE(desk.see("A1 B0 C1"_s), "A01 C01 "_s);
        QCOMPARE(desk.states(), "131222"_s);
        desk.react = [&desk] { desk.manager->clearPlanning(); };
        QCOMPARE(desk.see("A0 B2 C1"_s), "A10 B32 "_s);
        // The newest overview wins, and the changes of each tuner come in their order.
        desk.react = [&desk] { desk.manager->sl_updateTuners(overviewOf("A2 B0 C0"_s)); };
        QCOMPARE(desk.see("A1 B1 C1"_s), "A01 B21 A12 B10 C10 "_s);
        QCOMPARE(desk.states(), "200222"_s);
        desk.react = [&desk] { desk.manager.reset(); };
        QCOMPARE(desk.see("A0 B1 C1"_s), "A20 "_s);
    }

    /// Of two who plan one tuner one after the other, each undoes only what is its own.
    void plansHaveNumbers()
    {
        Desk desk;
        desk.see("A0 B0"_s);
        QString told;
        connect(desk.manager.get(), &Manager::si_PlanningChanged, this,
                [&told](const QString& guid, bool planned) {
                    told += guid + QString::number(planned) + QLatin1Char(' ');
                });
        QString error;
        TunerPlan first = TunerPlan::make(*desk.manager, "A"_s, {}, error);
        QVERIFY(first.stands() && error.isEmpty());
        QVERIFY(!TunerPlan::make(*desk.manager, "A"_s, {}, error).stands());
        desk.manager->clearPlanning();
        TunerPlan second = TunerPlan::make(*desk.manager, "A"_s, {}, error);
        TunerPlan taken = std::move(first);
        QVERIFY(!taken.stands());
        taken.undo();
        QCOMPARE(desk.states(), "302222"_s);
        desk.see("A1 B0"_s); // used now, so there is nothing left to undo
        QVERIFY(!second.stands() && desk.manager->planNumber("A"_s) == 0);
        desk.see("A0 B0"_s);
        second = TunerPlan::make(*desk.manager, "A"_s, {}, error);
        second = TunerPlan::make(*desk.manager, "B"_s, {}, error);
        QCOMPARE(told, "A1 A0 A1 A1 B1 A0 "_s);
        desk.manager.reset();
        QVERIFY(!second.stands());
    }

    void sources()
    {
        values::Tree& tree = values::Tree::Instance();
        auto* const value = tree.Emplace<values::StringValue>("/S/Resources"_s);
        KoltaResourceObserver observer(value->GetPath());
        Manager direct;
        Manager observed;
        Manager once(nullptr, Manager::eReadOnce);
        const Startup::TraceRecorder traces;
        const char* const bad = "<Tuner/>";
        // What the server writes, whether sources are given then, tuner A's state in each manager, traces so
        // far.
        const std::tuple<const char*, bool, const char*, int, int> steps[] = {
            {"A1", true, "111", 0, 0}, {"A2", false, "221", 0, 0},
            {bad, false, "221", 1, 0}, {"", true, "221", 1, 0}, // no overview yet, and no failure
            {bad, true, "221", 4, 2},  {"A0", false, "001", 4, 2}};
        for (const auto& [entries, init, states, unreadable, failed] : steps) {
            const QString text = QLatin1String(entries);
            value->SetValue(text.startsWith(QLatin1Char('A')) ? overviewOf(text).GetXmlString() : text);
            if (init) {
                observed.init(observer);
                QCOMPARE(direct.init("/S"_s), entries != bad);
                once.init("/S"_s);
            }
            QString found;
            for (const Manager* const manager : {&direct, &observed, &once})
                found += QString::number(manager->getTunerState("A"_s));
            QCOMPARE(found, QLatin1String(states));
            QCOMPARE(traces.count("ReportException Invalid XML text: "_s), unreadable);
            QCOMPARE(traces.count("Could not initialize."_s), failed);
        }
        QVERIFY(!direct.init("/none"_s)); // and the source before is dropped
        value->SetValue(overviewOf("A1"_s).GetXmlString());
        QCOMPARE(int(direct.getTunerState("A"_s)), 0);
        tree.Clear();
    }
};

KOLTA_TEST(TestTunerBookingManager);
#include "tst_tunerbookingmanager.moc"
