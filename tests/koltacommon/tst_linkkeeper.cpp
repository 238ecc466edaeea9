#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/linkkeeper.h>
#include <koltacommon/requestoperation.h>
#include <support/operationend.h>
#include <support/test.h>

#include <startup/cfgcenter.h>

#include <stdexcept>

using Kolta::Abandonment;
using Kolta::KoltaConnection;
using Kolta::LinkKeeper;
using Kolta::Operation;
using Kolta::RequestOperation;
using XmlCommon::CXmlMessage;
using State = LinkKeeper::State;

namespace {

/// Notes its end in a list: its name when it is answered, with reason and "+" (it was sent) when it is
/// abandoned.
class Noted : public Kolta::GeneralRequest
{
public:
    using Action = std::function<Kolta::ptrKoltaRequest()>;

    Noted(const char* component, QStringList& list, const Action& onEnd = Action())
        : GeneralRequest(makeRequest(QString::fromLatin1(component)))
        , m_name(QString::fromLatin1(component))
        , m_list(list)
        , m_action(onEnd)
    {
    }
    Kolta::ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage) override
    {
        m_list.append(m_name);
        return m_action ? m_action() : Kolta::ptrKoltaRequest();
    }
    void abandoned(Abandonment why, bool wasSent) override
    {
        m_list.append(m_name + QString::number(int(why)) + QString::fromLatin1(wasSent ? "+" : ""));
        if (m_action)
            m_action();
    }

private:
    QString m_name;
    QStringList& m_list;
    Action m_action;
};

} // namespace

class tst_LinkKeeper : public QObject
{
    Q_OBJECT

    Startup::ManualClock clock;
    std::unique_ptr<Startup::Clock::Replacement> replacement;
    std::unique_ptr<ScriptedPeer> peer;
    QPointer<LinkKeeper> keeper;
    QStringList ends;

    void execute(const char* component, bool repeatable = false, const Noted::Action& onEnd = {},
                 LinkKeeper::WhileDown whileDown = LinkKeeper::WhileDown::Keep)
    {
        keeper->execute(Kolta::ptrKoltaRequest(new Noted(component, ends, onEnd)), whileDown, repeatable);
    }
    bool reaches(State state)
    {
        return waitFor([&] { return keeper && keeper->state() == state; });
    }
    void endPause() { clock.advance(keeper->waitingMs()); }
    /// Answers everything but what has that name.
    void answerAllBut(const char* component, const std::function<void()>& then = {})
    {
        peer->rule = [=](const CXmlMessage& request) {
            if (request.getFragment(0).getComponentName() != QString::fromLatin1(component))
                peer->answer(request);
            else if (then)
                then();
        };
    }
    QString sent() const { return peer->log.filter(QRegularExpression(":[a-z]:"_s)).join(QLatin1Char(' ')); }

private Q_SLOTS:
    void init()
    {
        replacement = std::make_unique<Startup::Clock::Replacement>(clock);
        peer = std::make_unique<ScriptedPeer>();
        keeper = new LinkKeeper("K"_s, "1"_s, peer->host(), nullptr);
        LinkKeeper::Settings settings;
        settings.loadFaultTexts = false;
        keeper->setSettings(settings);
        ends.clear();
    }
    void cleanup()
    {
        delete keeper.data();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        peer.reset();
        replacement.reset();
        QCOMPARE(Kolta::InstanceCount<KoltaConnection>::living(), 0);
        QCOMPARE(Kolta::InstanceCount<LinkKeeper>::living(), 0);
    }

    /// What waits, what may be repeated and what may not, over the end of a link.
    void carriesRequestsToTheNextLink()
    {
        auto& viewer = Kolta::KoltaConnectionsViewer::Instance();
        int passed[2] = {0, 0};
        QVERIFY(viewer.tap(keeper->figures().id, keeper, [&passed](bool isSent, const auto& message) {
            passed[isSent] += message ? 1 : 0;
        }));
        for (const char* component : {"a", "b"})
            execute(component, component[0] == 'b');
        execute("r", false, {}, LinkKeeper::WhileDown::Refuse);
        QCOMPARE(ends, QStringList{"r0"_s});
        answerAllBut("b", [&] { peer->link->close(); });
        keeper->open();
        QVERIFY(reaches(State::Waiting));
        QCOMPARE(keeper->lastError(), "RemoteHostClosed"_s);
        QVERIFY(keeper->waitingMs() >= 150 && keeper->waitingMs() <= 250);
        execute("c");
        answerAllBut("c", [&] { peer->link->close(); });
        endPause();
        QVERIFY(reaches(State::Up));
        execute("d", false, [&] { return Kolta::ptrKoltaRequest(new Noted("f", ends)); });
        QVERIFY(reaches(State::Waiting));
        execute("e", false, []() -> Kolta::ptrKoltaRequest { throw std::runtime_error("goes no further"); });
        peer->rule = {};
        keeper->open(); // does not wait for the pause
        QTRY_COMPARE(ends.join(QLatin1Char(' ')), "r0 a b c2+ d e f"_s);
        QCOMPARE(sent(), "1:a:1 1:b:1 2:b:1 2:c:1 3:d:1 3:e:1 3:f:1"_s);
        QCOMPARE(keeper->state(), State::Up);

        // All three connections are one link.
        QCOMPARE(viewer.links().size(), 1);
        const Kolta::LinkFigures figures = viewer.links().first();
        QVERIFY(figures.state == Kolta::LinkFigures::State::Up && figures.upSince.isValid());
        QCOMPARE(figures.reconnections, 2);
        QCOMPARE(figures.lastFault, "RemoteHostClosed"_s);
        QCOMPARE(figures.queued + figures.nextTryMs, 0);
        QCOMPARE(figures.headAgeMs, -1);
        QCOMPARE(figures.roundTripMs, 0); // the clock stands still
        QCOMPARE(figures.messagesOut, quint64(passed[true]));
        QCOMPARE(figures.messagesIn, quint64(passed[false]));
        QVERIFY(figures.messagesIn >= 7 && figures.bytesIn > 7 * 100 && figures.bytesOut > 7 * 100);
        execute("g", true);
        keeper->close();
        QCOMPARE(ends.last(), "g1+"_s);
        QCOMPARE(keeper->state(), State::Off);
    }

    /// The link ends after the server has executed one that may be repeated, then one that may not.
    void endsOperationsWithTheirLinks()
    {
        RequestOperation repeatable(*keeper, makeRequest("r"_s), nullptr);
        RequestOperation lost(*keeper, makeRequest("l"_s), nullptr);
        RequestOperation kept(*keeper, makeRequest("k"_s), nullptr);
        repeatable.setRepeatable(true);
        for (const char* component : {"r", "l"}) {
            answerAllBut(component, [&] { peer->link->close(); });
            keeper->open();
            QVERIFY(reaches(State::Waiting));
        }
        QTRY_COMPARE(endOf(&lost), "Lost Unknown LinkEnded"_s);
        peer->rule = {};
        keeper->open();
        QTRY_COMPARE(endOf(&kept), "Done Done None"_s);
        QCOMPARE(endOf(&repeatable), "Done Done None"_s);
        QCOMPARE(sent(), "1:r:1 2:r:1 2:l:1 3:k:1"_s);
    }

    void opensEachLinkWithItsFilters()
    {
        const Kolta::ptrKoltaRequest filter(new Noted("filter", ends));
        const Kolta::ptrKoltaRequest empty(new Kolta::GeneralRequest);
        keeper->setEventFilterRequests({filter, empty});
        execute("a");
        keeper->open();
        QTRY_COMPARE(ends, (QStringList{"filter"_s, "a"_s}));
        keeper->setEventFilterRequests({});
        ends.clear();
        peer->link->close();
        QVERIFY(reaches(State::Waiting));
        endPause();
        QVERIFY(reaches(State::Up));
        QVERIFY(ends.isEmpty());
        QCOMPARE(peer->log.last(), "2:Application:1"_s);
    }

    void doesNotStormAServerThatCutsEveryLink()
    {
        peer->rule = [&](const CXmlMessage& request) {
            peer->answer(request);
            if (request.getServiceType() == CXmlMessage::eSERVICE_QUERY ||
                !request.getFragment(0).getComponentName().contains("RequestTree"_s))
                peer->link->close();
        };
        keeper->open();
        const qint64 end = clock.now() + 60000;
        int pause = 0;
        while (clock.now() < end) {
            QVERIFY(reaches(State::Waiting));
            pause = keeper->waitingMs();
            clock.advance(qMin<qint64>(pause, end - clock.now()));
        }
        QVERIFY2(peer->linksOpened >= 7 && peer->linksOpened <= 12,
                 qPrintable(QString::number(peer->linksOpened)));
        QVERIFY(pause <= 30000);
        // One that lasts makes the pauses short again.
        peer->rule = {};
        endPause();
        QVERIFY(reaches(State::Up));
        clock.advance(10000);
        peer->link->close();
        QVERIFY(reaches(State::Waiting));
        QVERIFY(keeper->waitingMs() <= 250);
    }

    void outlivesAnAbsenceOfTenMinutes()
    {
        const quint16 port = peer->server.port();
        peer->server.close();
        execute("a");
        keeper->open();
        const qint64 back = clock.now() + 600000;
        for (; clock.now() < back; endPause())
            QVERIFY(reaches(State::Waiting));
        QCOMPARE(peer->linksOpened, 0);
        QVERIFY(peer->server.listen(QHostAddress::LocalHost, port));
        const qint64 returned = clock.now();
        while (keeper->state() != State::Up) {
            QVERIFY(waitFor([&] { return keeper->state() == State::Up || keeper->waitingMs() > 0; }));
            endPause();
        }
        QVERIFY(clock.now() - returned <= 31000);
        QTRY_COMPARE(ends, QStringList{"a"_s});
    }

    void endsALinkWhoseAnswerDoesNotCome()
    {
        answerAllBut("a", [&] {
            for (int i = 0; i < 100; ++i)
                peer->send(*makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST));
        });
        int broadcasts = 0;
        connect(keeper, &LinkKeeper::Broadcast, this, [&] { ++broadcasts; });
        execute("a", true);
        execute("b");
        RequestOperation waiting(*keeper, makeRequest("w"_s), nullptr);
        keeper->open();
        QTRY_COMPARE(broadcasts, 100);
        waiting.cancel();
        QCOMPARE(waiting.effect(), Operation::Effect::None);
        clock.advance(89999);
        QVERIFY(ends.isEmpty());
        clock.advance(1);
        QCOMPARE(ends, QStringList{"a3+"_s});
        execute("c"); // this link takes no more
        QVERIFY(reaches(State::Waiting));
        endPause();
        QTRY_COMPARE(ends, (QStringList{"a3+"_s, "b"_s, "c"_s}));
        QCOMPARE(sent(), "1:a:1 2:b:1 2:c:1"_s);
    }

    void givesUp()
    {
        LinkKeeper::Settings settings;
        settings.giveUpAfterMs = 5000;
        settings.keptRequests = 1;
        keeper->setSettings(settings);
        peer->server.close();
        execute("a");
        execute("b");
        keeper->open();
        while (keeper->state() != State::GivenUp) {
            QVERIFY(waitFor([&] { return keeper->state() == State::GivenUp || keeper->waitingMs() > 0; }));
            endPause();
        }
        execute("c");
        QCOMPARE(ends, (QStringList{"b0"_s, "a2"_s, "c0"_s}));
    }

    void tellsFaultsOfRequestsThatDoNotHandleThem()
    {
        QStringList faults;
        connect(keeper, &LinkKeeper::Fault, this, [&](const QString& fault) { faults.append(fault); });
        answerAllBut("", {});
        keeper->open();
        QVERIFY(reaches(State::Up));
        peer->rule = [&](const CXmlMessage& request) { peer->answerWithFault(request, 7); };
        RequestOperation own(*keeper, makeRequest("o"_s), nullptr);
        execute("a");
        QTRY_VERIFY(own.isFinished() && faults.size() == 1);
        QCOMPARE(own.reason(), Operation::Reason::Fault);
        QVERIFY(ends.isEmpty());
        peer->rule = {};
        execute("b");
        QTRY_COMPARE(ends, QStringList{"b"_s});
    }

    void mayBeDeletedOrClosedAnywhere_data()
    {
        const Rows<QString, bool> row("where close");
        for (const bool close : {false, true}) {
            for (const char* where : {"Connecting", "Up", "Waiting", "reply", "abandoned"})
                row(qPrintable(QLatin1String(where) + (close ? ", closed"_s : ", deleted"_s)), where, close);
        }
    }
    void mayBeDeletedOrClosedAnywhere()
    {
        QFETCH(QString, where);
        QFETCH(bool, close);
        bool ended = false;
        const auto end = [&] {
            ended = true;
            close ? keeper->close() : delete keeper.data();
            return Kolta::ptrKoltaRequest();
        };
        connect(keeper, &LinkKeeper::stateChanged, this, [&](State state) {
            if (where == QString::fromLatin1(QMetaEnum::fromType<State>().valueToKey(int(state))))
                end();
        });
        execute("a", false, where == "reply"_s ? Noted::Action(end) : Noted::Action());
        execute("b", false, where == "abandoned"_s ? Noted::Action(end) : Noted::Action());
        execute("c");
        answerAllBut("b", [&] { peer->link->close(); });
        keeper->open();
        QTRY_VERIFY(ended);
        QTRY_COMPARE(peer->linksClosed, peer->linksOpened);
        QTRY_VERIFY(ends.size() == 3 || where == "Waiting"_s);
        QVERIFY(close ? keeper->state() == State::Off : keeper.isNull());
        QCOMPARE(ends.last().left(2), "c1"_s);
    }

    void isConfigured()
    {
        QTemporaryDir folder;
        QVERIFY(Startup::CfgCenter::Instance().Open(folder.filePath("kolta.ini"_s)));
        const auto set = [](const char* key, const QVariant& value) {
            Startup::CfgCenter::Instance().SetValue("Link"_s, QString::fromLatin1(key), value);
        };
        set("firstPauseMs", 500);
        set("longestPauseMs", 100); // shorter than the first
        set("jitter", "much"_s);
        set("loadFaultTexts", false);
        const auto settings = LinkKeeper::Settings::configured();
        QCOMPARE(settings.firstPauseMs, 500);
        QCOMPARE(settings.longestPauseMs, 30000);
        QCOMPARE(settings.jitter, 0.25);
        QVERIFY(!settings.loadFaultTexts);
        Startup::CfgCenter::Instance().Open("/nonexistent/kolta.ini"_s);
    }
};

KOLTA_TEST(tst_LinkKeeper);
#include "tst_linkkeeper.moc"
