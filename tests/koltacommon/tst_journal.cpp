#include "modelfollower.h"
#include "randomlife.h"
#include <support/simulated.h>
#include <support/test.h>

#include <koltacommon/eventmodel.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/viewroles.h>
#include <startup/clock.h>

#include <QAbstractItemModelTester>
#include <QTemporaryDir>

#include <map>
#include <random>

using namespace Kolta;
using ProcessorSamples::guid;
using RandomHistory::RandomLife;
using RandomHistory::registry;
using RandomHistory::Server;
using Type = EventSubject::Type;

namespace {

const QDateTime kStart = QDateTime::fromMSecsSinceEpoch(1700000000000);

/// Both clocks, going together.
struct Time : Startup::ManualClock
{
    Replacement replacement{*this};
    QDateTime day() const { return kStart.addMSecs(now()); }
};

Event stateEvent(const QDateTime& time, const EventSubject& subject, int state,
                 const QString& text = QString())
{
    Event event;
    event.time = time;
    event.kind = Event::Kind::Resource;
    event.subject = subject;
    event.state = state;
    event.text = text;
    return event;
}

QStringList textsOf(const EventModel& model)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.index(row, EventModel::eTextColumn).data().toString();
    return texts;
}

/// "free 1000, ? 500, busy 20": how long, in milliseconds.
QString written(const QVector<Stretch>& stretches)
{
    QStringList texts;
    for (const Stretch& stretch : stretches) {
        const QString state = stretch.isWatched ? QString::number(stretch.state) : "?"_s;
        texts << "%1 %2"_s.arg(state).arg(stretch.from.msecsTo(stretch.to));
    }
    return texts.join(", "_s);
}

} // namespace

class TestJournal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_time = std::make_unique<Time>();
        m_source = std::make_unique<InstallationEvents>();
        m_source->setTimeSource([this] { return m_time->day(); });
    }
    void cleanup()
    {
        m_source.reset();
        registry().removeAllServers();
        turnOnce();
        m_time.reset();
    }

    /// What ends by itself is an alarm, what somebody wanted is not, whoever that was.
    void life()
    {
        Server server("S1"_s);
        server.setTuners(2);
        server.resources.EditTuner().first().SetIdle(false);
        server.running = ProcessorSamples::overviewOf("M1=a(f2=b) M3=c M4=d(f5=e f6=g)"_s);
        server.running.EditMCP()[0].SetProductionID(guid(901));
        server.running.EditMCP()[2].SetProductionID(guid(904));
        server.come();
        KoltaServerInterface& interface = *server.enter();
        QStringList told;
        connect(m_source.get(), &InstallationEvents::happened,
                [&](const Event& event) { told << "%1 %2"_s.arg(Event::word(event.weight), event.text); });
        m_source->followRegistry(registry());
        QCOMPARE(m_source->present().size(), 8); // server, tuner, six processors
        QVERIFY(told.isEmpty());
        const auto taken = [&] { return std::exchange(told, {}); };

        server.setTunerIdle(guid(101), false);
        server.show();
        QCOMPARE(taken(), QStringList{"note tuner T1 is in use"_s});
        interface.getProductionControl().StopProduction(QUuid(guid(901)));
        server.running.EditMCP().removeFirst();
        server.show();
        QCOMPARE(taken(), (QStringList{"note a has stopped"_s, "note b has stopped"_s}));
        m_time->advance(60000);
        server.running.EditMCP()[1].EditFFP().removeLast();
        server.show();
        QCOMPARE(taken(), QStringList{"alarm g has stopped"_s});

        server.go();
        QCOMPARE(taken(), QStringList{"alarm has vanished; 2 productions ran there"_s});
        m_time->advance(180000);
        server.running.EditMCP().removeFirst(); // c
        server.setTunerIdle(guid(101), true);
        server.come();
        QCOMPARE(taken(), (QStringList{"note is back after 3 min"_s, "note tuner T1 is free"_s,
                                       "note state Operational"_s, "note still running: d, e"_s,
                                       "alarm c was lost with its server"_s}));

        // What nobody can see is not told, but of who is not back in time.
        m_source->setOutOfSight(true);
        server.go();
        m_time->advance(60000);
        m_source->setOutOfSight(false);
        server.come();
        m_time->advance(60000);
        QCOMPARE(taken(), QStringList());
        m_source->setOutOfSight(true);
        server.go();
        m_source->setOutOfSight(false);
        QCOMPARE(taken(), QStringList());
        m_time->advance(InstallationEvents::kReturnMs);
        QCOMPARE(taken(), QStringList{"alarm has vanished; 1 production ran there"_s});
        server.come();
        QCOMPARE(taken().first(), "note is back after 30 s"_s);

        // An empty list is believed after a while; what was lost has not stopped, too.
        server.go();
        server.come();
        taken();
        server.go();
        server.running = ProcessorSamples::overviewOf(QString());
        server.come();
        taken();
        m_time->advance(60000);
        const QStringList lost = taken();
        QVERIFY2(lost.size() == 2 && lost.filter("lost with"_s) == lost, qPrintable(lost.join("; "_s)));

        values::WriteOrAnnounce(ServerNodes::path(interface.getServerBasePath(), ServerNodes::eReset), "x"_s);
        server.go();
        QCOMPARE(taken(), QStringList{"note has gone, as it was asked to"_s});
    }

    /// How a server went is only known a turn later, or when the way to it is there again.
    void farewell()
    {
        Server server("S1"_s);
        server.come();
        server.enter();
        QStringList told;
        connect(m_source.get(), &InstallationEvents::happened, [&](const Event& event) {
            told << "%1 %2 %3"_s.arg(Event::word(event.weight), event.text).arg(event.state);
        });
        m_source->followRegistry(registry());
        bool hasLeft = false;
        m_source->setLeaverCheck([&](const QString& address) { return hasLeft && address == "S1"_s; });
        const auto taken = [&] { return std::exchange(told, {}).value(0); };

        server.go();
        hasLeft = true;
        QTRY_VERIFY(!told.isEmpty());
        QCOMPARE(taken(), "note has left by itself -1"_s);
        server.come();
        taken();
        hasLeft = false;
        server.go();
        server.come(); // before anybody could ask
        QCOMPARE(taken(), "alarm has vanished 0"_s);
        m_source->setOutOfSight(true);
        server.go();
        m_source->setOutOfSight(false);
        hasLeft = true;
        m_time->advance(InstallationEvents::kReturnMs);
        QCOMPARE(taken(), "note has left by itself -1"_s);
    }

    /// In every slot source, journal or server may go.
    void slotsInterfere()
    {
        RandomLife life(testSeed());
        for (int round = 0; round < 60; ++round) {
            Server server("S1"_s);
            server.setTuners(4);
            server.come();
            server.enter();
            auto* const source = new InstallationEvents;
            QPointer<Journal> journal = new Journal;
            QPointer<EventModel> model = new EventModel(*journal);
            journal->follow(*source);
            source->followRegistry(registry());
            int calls = 0;
            const auto meddle = [&] {
                if (++calls != 1 + round % 20)
                    return;
                const int what = round % 4;
                if (what == 0)
                    delete source;
                else if (what == 1)
                    delete journal;
                else if (what == 2)
                    registry().removeServer(server.name());
                else
                    life.any(server);
            };
            connect(source, &InstallationEvents::happened, journal, meddle);
            connect(journal, &Journal::added, journal, meddle);
            connect(journal, &Journal::statesChanged, journal, meddle);
            const QPointer<InstallationEvents> living(source);
            for (int i = 0; i < 40; ++i) {
                life.any(server);
                turnOnce();
                m_time->advance(1000);
            }
            delete living;
            delete journal;
            QCOMPARE(model->rowCount(), 0);
            delete model;
            registry().removeAllServers();
            turnOnce();
        }
    }

    /// The books say for every moment what was told before it.
    void book()
    {
        std::mt19937 random(testSeed());
        const auto number = [&random](int bound) {
            return static_cast<int>(random() % static_cast<unsigned>(bound));
        };
        const EventSubject server{Type::Server, "S"_s, QString()};
        const QVector<EventSubject> subjects{
            server, {Type::Tuner, "S"_s, "T"_s}, {Type::Processor, "S"_s, "P"_s}};
        for (int round = 0; round < 300; ++round) {
            StretchBook book;
            std::map<int, QVector<int>> truth; // by time: each subject's state, -9 for nobody knows
            QVector<int> now{-1, 0, -1};
            bool isWatched = false;
            const auto remember = [&](int time) {
                QVector<int> states = now;
                for (int i = 0; i < 3; ++i) {
                    if (!isWatched || (i > 0 && now[0] <= 0))
                        states[i] = -9;
                }
                truth[time] = states;
            };
            remember(0);
            for (int time = 1; time < 60; time += 1 + number(3)) {
                const int what = number(8);
                if (what == 0) {
                    isWatched ? book.endWatch(kStart.addMSecs(time)) : book.beginWatch(kStart.addMSecs(time));
                    isWatched = !isWatched;
                    now = {-1, 0, -1};
                } else if (isWatched) {
                    const int which = what % 3;
                    const int state = which == 2 ? number(2) * 2 - 1 : number(3) - (which == 0 ? 1 : 0);
                    book.note(stateEvent(kStart.addMSecs(time), subjects[which], state));
                    now[which] = state;
                }
                remember(time);
            }
            const int from = number(30);
            const int to = from + 1 + number(40);
            for (int which = 0; which < 3; ++which) {
                QVector<Stretch> expected;
                for (int time = from; time < to; ++time) {
                    const int state = std::prev(truth.upper_bound(time))->second[which];
                    if (expected.isEmpty() || expected.last().state != state) {
                        Stretch stretch;
                        stretch.from = kStart.addMSecs(time);
                        stretch.state = state;
                        stretch.isWatched = state != -9;
                        expected.append(stretch);
                    }
                    expected.last().to = kStart.addMSecs(time + 1);
                }
                QCOMPARE(written(book.stretches(subjects[which], kStart.addMSecs(from), kStart.addMSecs(to))),
                         written(expected));
                if (isWatched) {
                    const Stretch present = book.present(subjects[which]);
                    QCOMPARE(present.isWatched, truth.rbegin()->second[which] != -9);
                    if (present.isWatched)
                        QCOMPARE(present.state, now[which]);
                }
            }
        }
    }

    void since()
    {
        const EventSubject server{Type::Server, "S"_s, QString()};
        const EventSubject tuner{Type::Tuner, "S"_s, "T"_s};
        const auto at = [](int time) { return kStart.addSecs(time); };
        StretchBook book(4);
        book.beginWatch(at(0));
        book.note(stateEvent(at(10), server, 5));
        QVERIFY(!book.present(tuner).sawBegin && book.present(tuner).from == at(10));
        book.note(stateEvent(at(20), tuner, 1));
        book.note(stateEvent(at(30), tuner, 0));
        QVERIFY(book.present(tuner).sawBegin && book.present(tuner).from == at(30));
        book.note(stateEvent(at(40), server, 0));
        book.note(stateEvent(at(50), server, 5));
        QVERIFY(!book.present(tuner).sawBegin && book.present(tuner).from == at(50));
        for (int i = 0; i < 100; ++i) // only the room's last ones stay, with what has not ended
            book.note(stateEvent(at(60 + i), tuner, i % 2));
        QCOMPARE(book.present(server).state, 5);
        QCOMPARE(written(book.stretches(tuner, at(156), at(160))), "0 1000, 1 1000, 0 1000, 1 1000"_s);
        QCOMPARE(book.open().size(), 2);
    }

    /// A journal that was cut anywhere is read up to there, and what follows is written behind.
    void file()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("j"_s);
        const EventSubject tuner{Type::Tuner, "S"_s, "T"_s};
        m_source->tell(stateEvent(m_time->day(), tuner, 0));
        {
            Journal journal;
            QVERIFY2(journal.open(path), qPrintable(journal.problem()));
            journal.follow(*m_source);
            Journal other;
            QVERIFY(!other.open(path));
            QVERIFY(other.problem().contains("another process"_s));
            m_source->tell(stateEvent(m_time->day(), {Type::Server, "S"_s, QString()}, 5, "up"_s));
            for (int i = 0; i < 3; ++i) {
                m_time->advance(1000);
                m_source->tell(stateEvent(m_time->day(), tuner, i % 2 + 1, "a\tb\\\n%1ü"_s.arg(i)));
            }
            m_time->advance(500);
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray whole = file.readAll();
        file.close();
        const int header = whole.indexOf('\n') + 1;
        for (int size = whole.size(); size >= header; size -= size > whole.size() - 100 ? 1 : 13) {
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(whole.left(size));
            file.close();
            Journal journal;
            QVERIFY2(journal.open(path), qPrintable(journal.problem()));
            const int lines = whole.left(size).count('\n') - 1; // without the header
            QCOMPARE(journal.endNumber() - journal.firstNumber(), quint64(qBound(0, lines - 1, 4)));
            QCOMPARE(journal.problem().isEmpty(), whole.at(size - 1) == '\n');
            if (size == whole.size()) {
                QCOMPARE(journal.entry(journal.endNumber() - 1)->event.text, "a\tb\\\n2ü"_s);
                QCOMPARE(written(journal.book().stretches(tuner, kStart, kStart.addSecs(5))),
                         "0 1000, 1 1000, 2 1000, 1 500, ? 1500"_s);
            }
            journal.take(stateEvent(kStart.addSecs(9), tuner, 1, "later"_s));
            turnOnce();
            Journal again;
            QVERIFY(again.read(path));
            QCOMPARE(again.entry(again.endNumber() - 1)->event.text, "later"_s);
        }
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(whole + "B\t4102444800000\n"); // of a clock that was wrong
        file.close();
        Journal ahead;
        QVERIFY(ahead.read(path) && !ahead.problem().isEmpty());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("something else\n");
        file.close();
        Journal journal;
        QVERIFY(!journal.open(path));
        QVERIFY(journal.problem().contains("no journal"_s));
    }

    /// The files stay within their room, and what is open is known although its begin was dropped.
    void fileRoom()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("j"_s);
        Journal::Limits limits;
        limits.fileBytes = 10000;
        limits.entries = 50;
        const EventSubject tuner{Type::Tuner, "S"_s, "T"_s};
        Journal journal(limits);
        QVERIFY(journal.open(path));
        journal.follow(*m_source);
        m_source->tell(stateEvent(m_time->day(), {Type::Server, "S"_s, QString()}, 5));
        m_source->tell(stateEvent(m_time->day(), tuner, 1));
        for (int i = 0; i < 1000; ++i) {
            m_time->advance(1000);
            m_source->tell(stateEvent(m_time->day(), {Type::Server, "S"_s, "x"_s}, Event::kUnchanged,
                                      QString::number(i)));
            if (i % 10 == 0)
                turnOnce();
            QVERIFY(QFileInfo(path).size() + QFileInfo(path + ".1"_s).size() <= limits.fileBytes + 1000);
        }
        turnOnce();
        QCOMPARE(journal.endNumber() - journal.firstNumber(), 50U);
        Journal again(limits);
        QVERIFY(again.read(path));
        QCOMPARE(again.entry(again.endNumber() - 1)->event.text, "999"_s);
        QCOMPARE(written(again.book().stretches(tuner, kStart.addSecs(-1), kStart.addSecs(1001))),
                 "? 1000, 1 1000000, ? 1000"_s);
    }

    void model()
    {
        Journal::Limits limits;
        limits.entries = 20;
        Journal journal(limits);
        EventModel all(journal);
        EventModel some(journal);
        EventFilter filter;
        filter.servers = QStringList{"S1"_s};
        filter.words = QStringList{"b"_s};
        some.setFilter(filter);
        const QAbstractItemModelTester testers[] = {
            {&all, QAbstractItemModelTester::FailureReportingMode::Fatal},
            {&some, QAbstractItemModelTester::FailureReportingMode::Fatal}};
        const ModelFollower allView(all);
        const ModelFollower someView(some);
        std::mt19937 random(testSeed());
        for (int i = 0; i < 400; ++i) {
            for (auto more = random() % 4; more > 0; --more) {
                const EventSubject subject{Type::Tuner, random() % 2 ? "S1"_s : "S2"_s,
                                           QString::number(random() % 3)};
                journal.take(stateEvent(m_time->day(), subject, 1, random() % 2 ? "a"_s : "b"_s));
                m_time->advance(static_cast<int>(random() % 20000));
            }
            if (random() % 10 == 0)
                some.setHeld(!some.isHeld());
            const int shown = someView.lines().size();
            turnOnce();
            QVERIFY(!some.isHeld() || someView.lines().size() <= shown);
            QCOMPARE(allView.lines(), allView.modelLines());
            QCOMPARE(someView.lines(), someView.modelLines());
            QCOMPARE(all.rowCount(), static_cast<int>(journal.endNumber() - journal.firstNumber()));
        }
        some.setHeld(false);
        some.setHeld(true);
        journal.take(stateEvent(m_time->day(), {Type::Tuner, "S1"_s, "new"_s}, 1, "b"_s));
        turnOnce();
        some.setHeld(true); // once more, which holds nothing less back
        some.setFilter(filter);
        QCOMPARE(some.heldBack(), 1);
        some.setHeld(false);
        EventModel fresh(journal);
        fresh.setFilter(filter);
        QCOMPARE(textsOf(some).size(), textsOf(fresh).size());
    }

    void flutter()
    {
        Journal journal;
        EventModel model(journal);
        const EventSubject tuner{Type::Tuner, "S"_s, "T"_s};
        const auto tell = [&](const QString& text, int seconds) {
            journal.take(stateEvent(m_time->day(), tuner, Event::kUnchanged, text));
            m_time->advance(seconds * 1000);
        };
        for (int i = 0; i < 8; ++i)
            tell(i % 2 ? "free"_s : "busy"_s, 5);
        tell("new"_s, 5); // is said once and stands for itself
        turnOnce();
        QCOMPARE(textsOf(model),
                 (QStringList{"new"_s, "free (×5 in 20 s: flutters)"_s, "busy"_s, "free"_s, "busy"_s}));
        m_time->advance(Journal::kMergeMs);
        tell("busy"_s, 0);
        turnOnce();
        QCOMPARE(textsOf(model).first(), "busy"_s);
        QCOMPARE(journal.entriesOf(tuner, kStart.addSecs(5), kStart.addSecs(16)).size(), 3);
    }

private:
    std::unique_ptr<Time> m_time;
    std::unique_ptr<InstallationEvents> m_source;
};

KOLTA_TEST(TestJournal);
#include "tst_journal.moc"
