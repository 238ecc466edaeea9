#include "treeside.h"

#include <distribution/branchmessage.h>
#include <distribution/localbroker.h>

#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimevalues.h>

#include <csignal>
#include <memory>

using namespace distribution;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using values::StringValue;

namespace {

ShortTimeFFPAssignment assignment(const char* ffp, quint32 radio)
{
    ShortTimeFFPAssignment made;
    made.ffpGuid = QLatin1String(ffp);
    made.radioId = radio;
    return made;
}

LinkOptions optionsFor(const LocalBroker& broker)
{
    QString error;
    return *LinkOptions::FromConfiguration(broker.url(), error);
}

struct MapSide : Side
{
    explicit MapSide(const LocalBroker& broker) : Side(optionsFor(broker)) {}
    ShortTimeFFPAssignmentItemMap* map()
    {
        return tree.FindAs<ShortTimeFFPAssignmentItemMap>(at("ShortTime/Assignments"));
    }
    /// "<FFP>=<radio>" of all items, sorted, and the number of open requests.
    QString items()
    {
        QStringList texts;
        for (const auto& [key, item] : map()->data())
            texts << key + QLatin1Char('=') + QString::number(item.radioId);
        texts.sort();
        return texts.join(QLatin1Char(' ')) + QStringLiteral(" ?%1").arg(map()->GetPendingRequests().size());
    }
};

} // namespace

class TestTreeLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QString error;
        broker = std::make_unique<LocalBroker>(LocalBroker::Settings());
        QVERIFY2(broker->start(error), qPrintable(error));
        Kolta::registerShortTimeValues();
    }
    void init()
    {
        server = std::make_unique<MapSide>(*broker);
        server->tree.Emplace<values::SelectionValue>(at("WorkingState"),
                                                     QMap<int, QString>{{5, QStringLiteral("up")}}, 5);
        for (const char* const name : {"Resources", "ChangedTuners", "HardwareProcessing"})
            server->tree.Emplace<StringValue>(at(name), QStringLiteral("first"));
        server->tree.EnsureNode(at("RequestsNode"));
    }
    void cleanup() { server.reset(); }
    void cleanupTestCase() { broker.reset(); }

    /// Changes of both sides, in order, and each heard once.
    void plainValues()
    {
        server->publish();
        MapSide client(*broker);
        client.mirror();
        QCOMPARE(client.text("Resources"), QStringLiteral("first"));
        QCOMPARE(client.tree.FindAs<values::SelectionValue>(at("WorkingState"))->GetStringValue(),
                 QStringLiteral("up"));
        server->log.clear();
        client.log.clear();

        const QString large(5000, QChar(0x20ac));
        server->set("Resources", large);
        server->set("Resources", large + QLatin1Char('x'));
        server->tree.FindAs<StringValue>(at("Resources"))->Announce(eChangeUser);
        QTRY_COMPARE(client.log.size(), 3);
        QCOMPARE(client.log.join(QLatin1Char(' ')), QStringLiteral("Resources:3 Resources:3 Resources!19"));
        QCOMPARE(client.text("Resources"), large + QLatin1Char('x'));

        // Each request is dealt with, also where two writers make the same one and none sees that of the
        // other.
        MapSide other(*broker);
        other.mirror();
        server->log.clear();
        for (MapSide* const side : {&client, &client, &other})
            side->tree.FindAs<StringValue>(at("ChangedTuners"))->Order(QStringLiteral("t"));
        QTRY_COMPARE(server->log.join(QLatin1Char(' ')),
                     QStringLiteral("ChangedTuners:3 ChangedTuners!3 ChangedTuners!3"));
        client.tree.FindAs<StringValue>(at("ChangedTuners"))->Announce(eChangeUser);
        QTRY_COMPARE(server->log.last(), QStringLiteral("ChangedTuners!19"));
        QCOMPARE(client.failures + other.failures + server->failures, QStringList());
    }

    /// Who reads along hears what is sent and how it is decided, with paths, until it goes, even if that is
    /// while it is told.
    void readsAlong()
    {
        using Kind = BranchMessage::Kind;
        server->publish();
        MapSide client(*broker);
        client.mirror();
        TreeLink& link = *client.link;
        QCOMPARE(link.branches().first().roundTripMs, -1);
        auto reader = std::make_unique<QObject>(), hasty = std::make_unique<QObject>();
        std::vector<BranchMessage> heard;
        int hastyHeard = 0;
        const auto hear = [&heard](const BranchMessage& message) { heard.push_back(message); };
        QVERIFY(!link.read(QStringLiteral("S2"), reader.get(), hear));
        QVERIFY(link.read(QStringLiteral("S1"), hasty.get(), [&](const BranchMessage& /*message*/) {
            ++hastyHeard;
            hasty.reset();
        }));
        QVERIFY(link.read(QStringLiteral("S1"), reader.get(), hear));
        client.set("Resources", QStringLiteral("wanted"));
        QTRY_COMPARE(server->text("Resources"), QStringLiteral("wanted"));
        QTRY_VERIFY(link.branches().first().roundTripMs >= 0);
        QCOMPARE(hastyHeard, 1);
        QVERIFY(heard.size() >= 2 && heard.front().isSent);
        QVERIFY(heard.front().kind == Kind::Wish && heard.back().kind == Kind::Entries);
        for (const BranchMessage& message : {heard.front(), heard.back()}) {
            QCOMPARE(message.changeCount, std::size_t(1));
            QCOMPARE(message.changes.front().path, at("Resources"));
            QVERIFY(message.bytes > 0);
        }
        QVERIFY(heard.back().tookMs >= 0);
        const BranchStatus status = link.branches().first();
        QVERIFY(status.sent.messages >= 1 && status.sent.bytes >= heard.front().bytes);
        QVERIFY(status.received.messages >= 2 && status.received.bytes >= heard.back().bytes);
        reader.reset();
        heard.clear();
        server->set("Resources", QStringLiteral("unheard"));
        QTRY_COMPARE(client.text("Resources"), QStringLiteral("unheard"));
        QVERIFY(heard.empty());
    }

    void placesTaken_data()
    {
        QTest::addColumn<QString>("place");
        QTest::newRow("within") << QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION");
        QTest::newRow("around") << QStringLiteral("/ConnectManager");
    }
    /// Of two branches for one place, or one within the other's, the second is not taken until the first has
    /// left; and a branch writes nothing outside its roots, whatever its owner says.
    void placesTaken()
    {
        QFETCH(QString, place);
        server->publish();
        MapSide client(*broker), intruder(*broker);
        client.mirror();
        intruder.tree.Emplace<StringValue>(at("Resources"), QStringLiteral("intruder's"));
        intruder.join();
        QSignalSpy published(intruder.link.get(), &TreeLink::si_Published);
        intruder.link->publish(QStringLiteral("X"), {place}, QString(), std::make_unique<OpenPolicy>());
        QVERIFY(published.wait(kPatienceMs));
        MapSide late(*broker);
        late.join();
        late.link->mirror({QStringLiteral("S1"), QStringLiteral("X")});
        QVERIFY(!late.link->waitForLive({QStringLiteral("S1"), QStringLiteral("X")}, 1500));
        server->set("Resources", QStringLiteral("second"));
        QTRY_COMPARE(client.text("Resources"), QStringLiteral("second"));
        const QStringList both{QStringLiteral("second"), QStringLiteral("intruder's")};
        QTRY_VERIFY(both.contains(late.text("Resources"))); // who was heard of first

        server.reset();
        QTRY_COMPARE(client.text("Resources"), QStringLiteral("intruder's"));
    }
    /// A branch goes from one process to another that had mirrored it, and which takes it the moment its
    /// mirror says that it has been left. The former owner keeps what it has, and mirrors it from then on.
    void handOver()
    {
        MapSide next(*broker);
        server->publish();
        server->link->mirror({QStringLiteral("*")});
        next.mirror();
        connect(next.link.get(), &TreeLink::si_BranchChanged, next.link.get(), [&](const QString& branch) {
            if (next.link->branches().first().state != BranchState::Withdrawn)
                return;
            next.tree.Emplace<StringValue>(at("Resources"), QStringLiteral("taken"));
            next.tree.Emplace<ShortTimeFFPAssignmentItemMap>(at("ShortTime/Assignments"));
            next.link->publish(branch, {QStringLiteral("/ConnectManager/AdminTree/S1")}, QString(),
                               std::make_unique<OpenPolicy>());
        });
        server->log.clear();
        server->link->withdraw(QStringLiteral("S1"));
        QTRY_COMPARE(server->text("Resources"), QStringLiteral("taken"));
        QCOMPARE(server->log, QStringList(QStringLiteral("Resources:3")));
        server->set("Resources", QStringLiteral("asked for"));
        QTRY_COMPARE(next.text("Resources"), QStringLiteral("asked for"));
        next.set("Resources", QStringLiteral("answered"));
        QTRY_COMPARE(server->text("Resources"), QStringLiteral("answered"));
        QCOMPARE(server->failures + next.failures, QStringList());
        // What it does to its collections is heard, also when it gives up the name and takes it again.
        next.map()->Add(assignment("a", 1));
        QTRY_COMPARE(server->items(), QStringLiteral("a=1 ?0"));
        next.link->withdraw(QStringLiteral("S1"));
        next.link->publish(QStringLiteral("S1"), {QStringLiteral("/ConnectManager/AdminTree/S1")}, QString(),
                           std::make_unique<OpenPolicy>());
        next.map()->Add(assignment("b", 2));
        QTRY_COMPARE(server->map() ? server->items() : QString(), QStringLiteral("a=1 b=2 ?0"));
        // Who cannot have the name gives it up the moment he hears of it.
        MapSide rival(*broker);
        rival.join();
        QSignalSpy failed(rival.link.get(), &TreeLink::si_PublicationFailed);
        connect(rival.link.get(), &TreeLink::si_PublicationFailed, rival.link.get(),
                [&](const QString& branch) { rival.link->withdraw(branch); });
        rival.link->publish(QStringLiteral("S1"), {QStringLiteral("/ConnectManager/AdminTree/S1")}, QString(),
                            std::make_unique<OpenPolicy>());
        QVERIFY(failed.wait(kPatienceMs));
        QTRY_VERIFY(rival.link->branches().isEmpty());
    }
    /// A name that could be taken for more than one line never reaches the broker.
    void unfitNames()
    {
        server->join();
        QSignalSpy failed(server->link.get(), &TreeLink::si_PublicationFailed);
        for (const QString& name : {QString(), QStringLiteral("a\nb"), QString(70000, QLatin1Char('a'))})
            QVERIFY(!server->link->publish(name, {QStringLiteral("/ConnectManager/AdminTree/S1")}, QString(),
                                           std::make_unique<OpenPolicy>()));
        QCOMPARE(failed.size(), 3);
        QCOMPARE(failed.last().at(1).value<PublicationState>(), PublicationState::NameUnfit);
        QVERIFY(!failed.last().at(2).toString().isEmpty() && server->link->branches().isEmpty());
        for (const char* const user : {"", "a/b", "a\xe2\x80\x8b", "\xc2\x85", "\xff"})
            QVERIFY2(!IsUsableUser(user), user);
        QVERIFY(IsUsableUser("J\xc3\xbcrgen S."));
        for (const char* const prefix : {"", "a//b", "$SYS", "a/+", "a\n"})
            QVERIFY2(!IsTopicPrefix(QLatin1String(prefix)), prefix);
        QVERIFY(IsTopicPrefix(QStringLiteral("site/$1")));
    }
    /// Of a user whom the broker lets only read each wish is refused at once, and undone.
    void deniedByTheBroker()
    {
        LocalBroker::Settings settings;
        settings.users = {{"server-S1", "one"}, {"reader", "two"}};
        settings.accessList = "user server-S1\ntopic readwrite kolta/#\n"
                              "user reader\ntopic read kolta/#\ntopic write kolta/1/c/#\n";
        LocalBroker guarded(settings);
        QString error;
        QVERIFY2(guarded.start(error), qPrintable(error));
        MapSide owner(guarded), writer(guarded), reader(guarded);
        for (MapSide* const side : {&owner, &writer}) {
            side->options.mqtt.address.user = "server-S1";
            side->options.mqtt.address.password = "one";
        }
        reader.options.mqtt.address.user = "reader";
        reader.options.mqtt.address.password = "two";
        reader.options.wishTimeoutMs = 600000;
        owner.tree.Emplace<StringValue>(at("Resources"), QStringLiteral("first"));
        owner.tree.Emplace<values::SelectionValue>(at("WorkingState"));
        owner.publish();
        writer.mirror(); // which asks for the state: the reader cannot
        reader.mirror();
        for (int wish = 1; wish <= 2; ++wish) {
            reader.set("Resources", QStringLiteral("mine"));
            QTRY_COMPARE(reader.failures.count(QStringLiteral("Resources=0")), wish);
            QCOMPARE(reader.text("Resources"), QStringLiteral("first"));
        }
    }
    /// What an owner changes while it has no line is entered as it happens, and costs no memory.
    void changesWithoutALine()
    {
        broker->kill();
        server->join();
        server->link->publish(QStringLiteral("S1"), {QStringLiteral("/ConnectManager/AdminTree/S1")},
                              at("WorkingState"), std::make_unique<OpenPolicy>());
        for (int turn = 0; turn < 20; ++turn) {
            server->set("Resources", QString::number(turn));
            QCoreApplication::processEvents();
        }
        QString error;
        QVERIFY2(broker->start(error), qPrintable(error));
        MapSide client(*broker);
        client.mirror();
        QCOMPARE(client.text("Resources"), QStringLiteral("19"));
        QVERIFY(client.link->branches().first().numbers.front().number >= 20);
    }
    /// The broker dies and returns, and so does the server: what was written meanwhile is done once or ends
    /// aloud, and nobody sees anything vanish that is still there.
    void losses()
    {
        server->tree.Emplace<ShortTimeFFPAssignmentItemMap>(at("ShortTime/Assignments"));
        server->map()->Add(assignment("a", 1));
        server->publish();
        auto client = std::make_unique<MapSide>(*broker);
        client->mirror();
        QTRY_VERIFY(client->map() && client->items() == server->items());
        for (const auto* const link : {server->link.get(), client->link.get()}) {
            const BranchStatus status = link->branches().first();
            QVERIFY(status.parts == 2 && status.joinedParts == 2);
        }

        ::kill(static_cast<pid_t>(broker->pid()), SIGSTOP);
        client->map()->Add(assignment("b", 2));
        const QUuid request = client->map()->RequestAssignmentChange(assignment("a", 3));
        server->map()->Add(assignment("c", 4));
        broker->kill();
        QString error;
        QVERIFY2(broker->start(error), qPrintable(error));
        QTRY_COMPARE(server->items(), QStringLiteral("a=1 b=2 c=4 ?1"));
        QTRY_COMPARE(client->items(), server->items());
        client->log.clear();
        QVERIFY(server->map()->ReplyAssignmentChange(request, QString()));
        QTRY_COMPARE(client->items(), QStringLiteral("a=1 b=2 c=4 ?0"));

        // Who asks hears of that once. The owner dies without having answered, and its next life knows other
        // things: only the difference is heard, and nobody is told that the request was refused.
        struct Listener : IObserver
        {
            void Update(Observable*, TChangeCode) override
            {
                const QString* const reply = map->FindReply(request);
                heard << (reply ? *reply : QString::number(map->Size()));
            }
            ShortTimeFFPAssignmentItemMap* map;
            QUuid request;
            QStringList heard;
        } listener;
        listener.map = client->map();
        client->map()->Attach(&listener);
        listener.request = client->map()->RequestAssignmentChange(assignment("a", 3));
        QTRY_COMPARE(server->map()->GetPendingRequests().size(), 1U);
        server->map()->Add(assignment("c", 5));
        QTRY_COMPARE(client->items(), server->items());
        QCOMPARE(listener.heard, QStringList({QStringLiteral("3"), QStringLiteral("3")}));
        listener.heard.clear();
        broker->kill();
        init();
        QVERIFY2(broker->start(error), qPrintable(error));
        server->tree.Emplace<ShortTimeFFPAssignmentItemMap>(at("ShortTime/Assignments"));
        for (const auto& item : {assignment("a", 1), assignment("b", 9)})
            server->map()->Add(item);
        server->publish();
        QTRY_COMPARE(client->items(), QStringLiteral("a=1 b=9 ?0"));
        QCOMPARE(listener.heard.size(), 3);
        QVERIFY2(listener.heard.first().contains(QLatin1String("unknown")),
                 qPrintable(listener.heard.first()));
        QCOMPARE(listener.heard.mid(1), QStringList({QStringLiteral("3"), QStringLiteral("2")}));
        QVERIFY(client->tree.Find(at("WorkingState")) && !client->tree.Find(at("WorkingState"))->IsDeleted());
        client->map()->Detach(&listener);
    }

private:
    std::unique_ptr<LocalBroker> broker;
    std::unique_ptr<MapSide> server;
};

KOLTA_TEST(TestTreeLink);
#include "tst_treelink.moc"
