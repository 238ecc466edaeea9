#include "productionsfixture.h"

#include <resourcemodel/requests.h>
#include <support/test.h>

#include <random>

using namespace KoltaSimulation;
using Kolta::ProcessorConverter;
using Kolta::TavikXmlHelpers::ALL_GUIDS_OF;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::HWProcessingOverview;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::RequestResource;
using RESOURCEMANAGEMENT::SCP;
using values::StringValue;
using values::Tree;

/// Productions on a simulated server, asked for through the library's production control.
class TestProductions : public ProductionsFixture
{
    Q_OBJECT

private Q_SLOTS:
    /// What clients read of what runs, and what a move makes of it.
    void showsWhatRuns()
    {
        const QString tuner = freeTuner(0);
        MCP asked = mcpOn(tuner, "hw_20MHz");
        asked.EditFFP() = {ffpOn(tuner)};
        const QUuid production = ask(asked);
        QCOMPARE(settled(), QStringList{accepted(production)});
        const MCP mcp = running().GetMCP().at(0);
        const FFP inner = mcp.GetFFP().at(0);
        QCOMPARE(QUuid(mcp.GetProductionID()), production);
        const auto unit = mcp.GetKoltaProcessor().GetUsedProcessingUnit();
        QCOMPARE(unit.GetCredits(), 10);
        QCOMPARE(inner.GetKoltaProcessor().GetUsedProcessingUnit().GetCredits(), 2);
        const QString guid = guidOf(mcp).toString();
        QString type, address;
        QVERIFY(m_control->getDriverTypeAndAddress(guid, type, address));
        QCOMPARE(type, "MCP"_s);
        QVERIFY(!address.isEmpty());
        QVERIFY(m_control->requestTunerProperties(guid).startsWith("<Settings>"_s));
        QCOMPARE(m_control->getFrequencyRangesOfAllMCPs().begin()->frequency, 2.0e8 / 9.0);
        QCOMPARE(m_control->getMcpGuidForTaskID(m_control->getTaskIDForGuid(guidOf(inner).toString())), guid);
        QVERIFY(QDateTime::fromString(m_control->getTaskReservedTimeForGuid(guid), Qt::ISODate) >
                QDateTime::currentDateTimeUtc());

        const QUuid other = produced(mcpOn(freeTuner(1)));
        m_control->requestFFPMove(guidOf(inner), other);
        settled();
        const FFP moved = running().GetMCP().at(1).GetFFP().at(0);
        QCOMPARE(moved.GetTunerGUID(), freeTuner(1)); // the other MCP's tuner feeds it from then on
        QVERIFY(moved.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID() != unit.GetGUID());
    }

    void refuses_data()
    {
        const Rows<QString, QString> row("xml reason"); // "{MCP}" and "{FFP}" stand for GUIDs of what runs
        const QString form = "<RequestResource><RequestType>%1</RequestType>%2</RequestResource>"_s;
        const auto start = [&form](const auto&... processors) {
            return form.arg(0).arg((processors.GetXmlString() + ...));
        };
        const auto inMcp = [&start](const char* mcp, const QVector<FFP>& ffps) {
            MCP holder = mcpOn("none"_s);
            holder.EditKoltaProcessor().EditTavikResource().SetGUID(QLatin1String(mcp));
            holder.SetFFP(ffps);
            return start(holder);
        };
        const auto move = [&form](const char* ffp, const char* mcp) {
            return form.arg(3).arg("<SubjectGUID>%1</SubjectGUID><DestinationGUID>%2</DestinationGUID>"_s.arg(
                QLatin1String(ffp), QLatin1String(mcp)));
        };
        const char* const nobody = "{aaaaaaaa-0000-4000-8000-000000000000}";
        QString lost, busy;
        for (const auto& tuner : m_installation.resources().GetTuner()) {
            if (!tuner.GetAccessible())
                lost = tuner.GetTavikResource().GetGUID();
            else if (!tuner.GetIdle())
                busy = tuner.GetTavikResource().GetGUID();
        }
        FFP costly = ffpOn();
        costly.EditKoltaProcessor().SetDemandClassName("5M"_s);
        MCP runs = mcpOn(freeTuner(1));
        runs.SetProductionID("{PRODUCTION}"_s);
        MCP far = mcpOn(freeTuner(1));
        far.SetFrequency(98.5e6);
        MCP wide = mcpOn(freeTuner(1));
        wide.SetBandwidth(1.1e6);
        FFP outside = ffpOn();
        outside.SetFrequency(2.0e7);
        row("out of range", start(far), "does not fit: needs 98.5 MHz, reaches 0.009 to 30 MHz");
        row("too wide", start(wide), "does not fit: needs a bandwidth of 1.1 MHz, has 1 MHz");
        row("outside the MCP's band", inMcp("{MCP}", {outside}), "needs 20 MHz, the MCP covers");
        row("unknown tuner", start(mcpOn(QLatin1String(nobody))), "There is no tuner {aaaaaaaa-");
        row("lost tuner", start(scpOn(lost)), "is not accessible");
        row("busy tuner", start(mcpOn(busy)), "is in use");
        row("taken tuner", start(mcpOn(freeTuner(0))), "is in use");
        row("tuner of an FFP", inMcp("{MCP}", {ffpOn(busy)}), "is in use");
        row("no capacity", start(mcpOn(freeTuner(1), "sw_20MHz")), "has 80 credits left");
        row("no capacity in the MCP's unit", inMcp("{MCP}", {costly}), "has 12 credits left");
        row("demand class", start(mcpOn(freeTuner(1), "300k")), "no demand class 300k for DCP");
        row("unknown MCP", inMcp(nobody, {ffpOn()}), "No MCP {aaaaaaaa-");
        row("FFP as MCP", inMcp("{FFP}", {ffpOn()}), "No MCP");
        row("nothing for the MCP", inMcp("{MCP}", {}), "found 0 FFPs");
        row("runs already", start(runs), "runs already");
        row("move of nobody", move(nobody, "{MCP}"), "No FFP {aaaaaaaa-");
        row("move of an MCP", move("{MCP}", "{MCP}"), "No FFP");
        row("move to nobody", move("{FFP}", nobody), "No MCP {aaaaaaaa-");
        row("move to where it is", move("{FFP}", "{MCP}"), "runs in that MCP already");
        row("move without target", move("{FFP}", "x"), "GUIDs of an FFP and an MCP");
        row("SCP and MCP", start(scpOn(freeTuner(1)), mcpOn(freeTuner(1))), "expected an SCP or an MCP");
        row("request type", form.arg(1).arg(scpOn(freeTuner(1)).GetXmlString()), "found the request type 1");
        for (const char* text : {"", "<RequestResource>"})
            row(text, text, "cannot be read");
    }

    void refuses()
    {
        QFETCH(QString, xml);
        QFETCH(QString, reason);
        MCP asked = mcpOn(freeTuner(0), "sw_20MHz");
        asked.EditFFP() = {ffpOn(), ffpOn(), ffpOn(), ffpOn(), ffpOn()}; // 90 of 100 credits
        const QUuid production = ask(asked);
        for (int unit = 0; unit < 4; ++unit)
            ask(mcpOn("none"_s));
        settled();
        const MCP mcp = running().GetMCP().at(0);
        xml.replace("{MCP}"_s, guidOf(mcp).toString());
        xml.replace("{FFP}"_s, guidOf(mcp.GetFFP().at(0)).toString());
        xml.replace("{PRODUCTION}"_s, production.toString());
        const auto shown = [this]() -> QString {
            return text("ActualConfiguration") + text("Resources") + text("HardwareProcessing") +
                   children("ConnectionInfo").join(QString());
        };
        const QString before = shown();
        QSignalSpy replies(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionRequestReplied);
        // Without an ID of its own a request goes by the name of its value. The same answer is heard twice.
        const QUuid id = QUuid::createUuid();
        for (int i = 0; i < 2; ++i)
            Tree::Instance().Emplace<StringValue>(base() + "RequestsNode/id"_s + id.toString(), xml);
        settled();
        QCOMPARE(replies.count(), 2);
        for (const auto& reply : replies) {
            QCOMPARE(reply.at(0).toUuid(), xml.contains(production.toString()) ? production : id);
            QVERIFY(!reply.at(1).toBool());
            QVERIFY2(reply.at(2).toString().contains(reason), qPrintable(reply.at(2).toString()));
        }
        QCOMPARE(shown(), before);
    }

    /// What comes in one turn is worked off in its order and shown once.
    void worksOffInOrder()
    {
        const QUuid first = ask(mcpOn(freeTuner(0)));
        m_control->StopAllProductions();
        const QUuid second = ask(scpOn(freeTuner(0)));
        const QUuid third = ask(mcpOn(freeTuner(0)));
        m_watch->taken();
        const QStringList said = settled();
        QCOMPARE(said.size(), 4);
        QCOMPARE(said.mid(0, 3), QStringList({accepted(first), first.toString(), accepted(second)}));
        QVERIFY(said.at(3).startsWith(third.toString() + "@0@"_s));
        QCOMPARE(m_watch->taken(), "+ConnectionInfo ActualConfiguration Resources ReplyResource "
                                   "StoppedResource ReplyResource"_s);
        QCOMPARE(running().GetSCP().size(), 1);
        QVERIFY(running().GetMCP().isEmpty());

        // A request that is made in the middle of an answer waits for its turn.
        m_control->StopAllProductions();
        QUuid nested;
        connect(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionStopped, this, [&] {
            nested = ask(mcpOn(freeTuner(0)));
            m_control->StopProduction(nested);
        });
        QCOMPARE(settled(), QStringList{second.toString()});
        disconnect(m_control.get(), nullptr, this, nullptr);
        QCOMPARE(settled(), QStringList({accepted(nested), nested.toString()}));
    }

    void stopsWhatItKnows()
    {
        MCP asked = mcpOn(freeTuner(0), "scp");
        asked.EditDSC() = {RESOURCEMANAGEMENT::DSC()};
        asked.EditFHP() = {RESOURCEMANAGEMENT::FHP()};
        ProcessorConverter::setupDefaultDSC(asked.EditDSC()[0], 2);
        ProcessorConverter::setupDefaultFHP(asked.EditFHP()[0], 1);
        asked.EditDSC()[0].EditFFP()[1].SetTunerGUID(freeTuner(1));
        const QUuid production = ask(asked);
        settled();
        QVERIFY(!isIdle(freeTuner(1)));
        const MCP mcp = running().GetMCP().at(0);
        write("StopResource", "nonsense"_s);
        settled();
        QVERIFY(text("Status").contains("nonsense"_s));
        write("StopResource", QUuid::createUuid().toString());
        // A part of a production ends without ending it, and releases what it alone held.
        write("StopResource",
              guidOf(mcp.GetDSC().at(0).GetFFP().at(1)).toString(QUuid::WithoutBraces).toUpper());
        write("StopResource", guidOf(mcp.GetFHP().at(0).GetFHA().at(0)).toString());
        QCOMPARE(settled(), QStringList());
        QCOMPARE(running().GetNumberOfFFPs(), 1);
        QVERIFY(running().GetMCP().at(0).GetFHP().at(0).GetFHA().isEmpty());
        QVERIFY(isIdle(freeTuner(1)) && !isIdle(freeTuner(0)));
        write("StopResource", guidOf(mcp.GetDSC().at(0)).toString());
        write("StopResource", " %1 "_s.arg(guidOf(mcp).toString(QUuid::WithoutBraces).toUpper()));
        write("StopResource", production.toString());
        QCOMPARE(settled(), QStringList{production.toString()});
        QVERIFY(text("Status").contains(production.toString()));
    }

    /// Whatever happens, the overviews agree with each other.
    void keepsItsBooks()
    {
        std::mt19937 random(testSeed());
        const auto below = [&random](int bound) { return static_cast<int>(random() % quint32(bound)); };
        const auto& units = m_installation.resources().GetProcessingUnit();
        int fulfilled = 0;
        for (int round = 0; round < 150; ++round) {
            for (int i = below(4); i >= 0; --i) {
                const QVector<MCP> mcps = running().GetMCP();
                const QUuid mcp = mcps.isEmpty() ? QUuid::createUuid() : guidOf(mcps.at(below(mcps.size())));
                const auto guids = ALL_GUIDS_OF(running()).values();
                const QUuid any = guids.isEmpty() ? mcp : QUuid(guids.at(below(guids.size())));
                const QString tuner = freeTuner(below(8));
                const QString unit = units.at(below(units.size())).GetTavikResource().GetGUID();
                const int action = below(24);
                if (action < 4)
                    ask(scpOn(tuner));
                else if (action < 10)
                    ask(mcpOn(tuner, below(2) ? "sw_5MHz" : "hw"));
                else if (action < 14)
                    ask(ffpOn(below(2) ? tuner : QString()), mcp);
                else if (action < 18)
                    m_control->requestFFPMove(any, mcp, QUuid());
                else if (action < 21)
                    m_control->StopProduction(any);
                else if (action < 23)
                    write("UnitPowerControl", "1@%1@%2"_s.arg(below(3) ? 1 : 0).arg(unit));
                else if (below(5) == 0)
                    m_control->StopAllProductions();
            }
            fulfilled += settled().filter("@1@"_s).size();
            checkBooks();
            if (QTest::currentTestFailed())
                return;
        }
        QVERIFY(fulfilled > 30);
        // Nothing is left of all that: every unit has all its credits.
        m_control->StopAllProductions();
        for (const auto& unit : units)
            write("UnitPowerControl", "1@1@"_s + unit.GetTavikResource().GetGUID());
        for (int i = 0; i < 2 * units.size(); ++i)
            ask(mcpOn("none"_s, i < units.size() ? "sw_20MHz" : "sw_5MHz"));
        QCOMPARE(settled().filter("@1@"_s).size(), 2 * units.size());
    }

    void misbehaves_data()
    {
        const Rows<QString, int> row("said mcps"); // "P" stands for the production, "?" for another GUID
        row("refuse-production=Not today,component=MCP,times=1", "P@0@Not today", 0);
        row("refuse-production", "P@0@Refused on demand", 0);
        row("refuse-production,component=SCP", "P@1@", 1);
        row("silent-production", "", 0);
        row("delay-production=1", "P@1@", 1);
        row("broken-production", "@?@P", 1);
        row("stray-stop", "? P@1@", 1);
    }

    void misbehaves()
    {
        QFETCH(QString, said);
        QFETCH(int, mcps);
        const MisbehaviourRule rule = misbehaviour(QString::fromUtf8(QTest::currentDataTag()));
        m_server->addMisbehaviour(rule);
        const QString production = ask(mcpOn(freeTuner(0))).toString();
        QStringList heard = settled();
        if (rule.kind == Misbehaviour::DelayProduction) {
            QVERIFY(heard.isEmpty());
            QTRY_VERIFY(!m_watch->texts.isEmpty());
            heard = settled();
        }
        if (rule.kind == Misbehaviour::StrayStop && !heard.isEmpty()) {
            QVERIFY(!QUuid(heard.first()).isNull() && heard.first() != production);
            heard.first() = "?"_s;
        }
        QCOMPARE(heard.join(QLatin1Char(' ')).replace(production, "P"_s), said);
        QCOMPARE(running().GetMCP().size(), mcps);
    }

    void sharesTheHardwareList()
    {
        HWProcessingOverview written;
        written.EditHWProcessing().append(RESOURCEMANAGEMENT::HWProcessing());
        written.EditHWProcessing()[0].SetGUID("{client}"_s);
        write("HardwareProcessing", written.GetXmlString());
        const QString mcp = produced(mcpOn(freeTuner(0), "hw")).toString();
        QCOMPARE(hardwareEntries(), QSet<QString>({"{client}"_s, mcp}));
        // A client takes an entry out; another production leaves it at that.
        write("HardwareProcessing", written.GetXmlString());
        const QString second = produced(mcpOn(freeTuner(1), "hw_20MHz")).toString();
        QCOMPARE(hardwareEntries(), QSet<QString>({"{client}"_s, second}));
        // What cannot be read gives way to the last list that could be.
        write("HardwareProcessing", "<HW"_s);
        produced(mcpOn(freeTuner(2)));
        QCOMPARE(text("HardwareProcessing"), "<HW"_s);
        m_control->StopAllProductions();
        settled();
        QCOMPARE(hardwareEntries(), QSet<QString>{"{client}"_s});
    }

    /// What holds a unit or a tuner follows what clients do to it.
    void followsItsResources()
    {
        const QUuid kept = ask(mcpOn(freeTuner(0)));
        const QUuid lost = ask(mcpOn(freeTuner(1)));
        settled();
        const QString unit = running().GetMCP().at(1).GetKoltaProcessor().GetUsedProcessingUnit().GetGUID();
        RESOURCEMANAGEMENT::ResourceOverview wish;
        for (const auto& one : m_installation.resources().GetProcessingUnit()) {
            if (one.GetTavikResource().GetGUID() == unit)
                wish.EditProcessingUnit().append(one);
        }
        wish.EditProcessingUnit()[0].ResetRegistration();
        write("ChangedPUs", wish.GetXmlString());
        QCOMPARE(settled(), QStringList{lost.toString()});
        QVERIFY(isIdle(freeTuner(1)));

        // A client that changes a tuner with an old record of it does not set it free.
        wish.Reset();
        for (const auto& tuner : m_installation.resources().GetTuner()) {
            if (tuner.GetTavikResource().GetGUID() == freeTuner(0))
                wish.EditTuner().append(tuner);
        }
        wish.EditTuner()[0].SetOptions("NEW"_s);
        write("ChangedTuners", wish.GetXmlString());
        QVERIFY(text("Resources").contains("<Options>NEW</Options>"_s));
        QVERIFY(!m_server->setTunerIdle(freeTuner(0), true));
        QVERIFY(!isIdle(freeTuner(0)));
        m_control->StopProduction(kept);
        settled();
        QVERIFY(isIdle(freeTuner(0)));
    }

private:
    void checkBooks() const
    {
        QHash<QString, int> credits;
        QSet<QString> tuners, drivers, hardware;
        const auto count = [&](const auto& node, const QString& tuner, int more = 0) {
            const auto& unit = node.GetKoltaProcessor().GetUsedProcessingUnit();
            credits[unit.GetGUID()] += unit.GetCredits() + more;
            tuners.insert(tuner);
            drivers.insert(guidOf(node).toString());
            return unit.GetGUID();
        };
        const RESOURCEMANAGEMENT::ProcessorOverview now = running();
        int ffps = 0;
        for (const SCP& scp : now.GetSCP()) {
            ffps += scp.IsFFPSet() ? 1 : 0;
            count(scp, scp.GetDataSource().GetTunerGUID(), scp.IsFFPSet() ? 2 : 0);
        }
        for (const MCP& mcp : now.GetMCP()) {
            const QString unit = count(mcp, mcp.GetDataSource().GetTunerGUID());
            if (mcp.GetKoltaProcessor().GetDemandClassName() == "hw"_s)
                hardware.insert(guidOf(mcp).toString());
            for (const FFP& ffp : mcp.GetFFP())
                QCOMPARE(count(ffp, ffp.GetTunerGUID()), unit);
            ffps += mcp.GetFFP().size();
        }
        QCOMPARE(now.GetNumberOfFFPs(), ffps);
        const auto resources = read<RESOURCEMANAGEMENT::ResourceOverview>("Resources");
        for (const auto& unit : resources.GetProcessingUnit())
            QVERIFY(credits.value(unit.GetTavikResource().GetGUID()) <=
                    (unit.GetRegistration() == 1 ? 100 : 0));
        const auto& initial = m_installation.resources().GetTuner();
        for (int i = 0; i < initial.size(); ++i) {
            const bool used = tuners.contains(initial.at(i).GetTavikResource().GetGUID());
            QCOMPARE(resources.GetTuner().at(i).GetIdle(), initial.at(i).GetIdle() && !used);
        }
        const QStringList shown = children("ConnectionInfo");
        QCOMPARE(QSet<QString>(shown.begin(), shown.end()), drivers);
        QCOMPARE(hardwareEntries(), hardware);
    }
};

KOLTA_TEST(TestProductions);
#include "tst_productions.moc"
