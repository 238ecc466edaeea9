#include <support/rununtil.h>
#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <simulation/serverthread.h>
#include <support/simulated.h>
#include <support/test.h>

#include <deque>
#include <random>

using Kolta::KoltaConnection;
using Kolta::ParameterRequest;
using Kolta::ptrKoltaRequest;

namespace {

struct Random
{
    explicit Random(quint32 seed) : engine(seed) {}
    int below(int bound) { return static_cast<int>(engine() % static_cast<quint32>(bound)); }
    std::mt19937 engine;
};

/// Keeps one server busy over one connection after the other, and holds what it hears against what must be.
class Customer : public QObject
{
    Q_OBJECT

public:
    Customer(const QString& host, quint32 seed) : m_host(host), m_random(seed) {}

    /// Executes requests until `wanted` are answered, then lets the last ones finish.
    void begin(int wanted)
    {
        m_wanted = wanted;
        reopen();
        placeOrders();
    }
    bool isDone() const { return answered >= m_wanted && m_waiting == 0; }

    int executed = 0, answered = 0, dropped = 0, reopened = 0, closed = 0;
    QString complaint; ///< the first thing that was wrong

public Q_SLOTS:
    void sl_reply(Kolta::ptrKoltaRequest request)
    {
        const XmlCommon::CMsgFragment& fragment = request->getMessage()->getFragment(0);
        QString component;
        fragment.getFaultTree().getAddendum(0, component);
        while (!m_queue.empty() && m_queue.front() == startUp)
            m_queue.pop_front();
        if (m_queue.empty() || component != "n%1"_s.arg(m_queue.front()) ||
            component != fragment.getComponentName()) {
            complain("unexpected reply "_s + component);
            return;
        }
        m_queue.pop_front();
        --m_waiting;
        ++answered;
        m_carried = true;
        if (m_random.below(20) == 0)
            execute();
        if (m_waiting == 0)
            QTimer::singleShot(m_random.below(4), this, &Customer::placeOrders);
    }

private:
    void complain(const QString& what)
    {
        if (complaint.isEmpty())
            complaint = what;
    }
    void reopen()
    {
        m_connection = new KoltaConnection("K"_s, "1.0"_s, m_host, false);
        m_connection->setParent(this);
        connect(m_connection, &KoltaConnection::ConnectionOpened, this, &Customer::opened);
        connect(m_connection, &KoltaConnection::ConnectionError, this, &Customer::failed);
        connect(m_connection, &KoltaConnection::ConnectionClosed, this, &Customer::ended);
        m_carried = m_opened = m_failed = m_mustClose = m_mustReopen = false;
        m_connection->open();
    }
    void opened()
    {
        if (m_mustClose)
            complain("reopened a link that had carried no reply"_s);
        reopened += m_failed;
        m_failed = m_mustReopen = false;
        m_opened = true;
        m_headIsOurs = !m_queue.empty() && m_queue.front() != startUp;
        m_queue.push_back(startUp);
    }
    void failed()
    {
        // Whether the start-up exchange was answered is not heard here.
        m_mustReopen = m_carried;
        m_mustClose = !m_carried && (!m_opened || m_headIsOurs);
        m_carried = m_opened = false;
        m_failed = true;
    }
    void ended()
    {
        ++closed;
        if (m_mustReopen)
            complain("gave up a link that had carried a reply"_s);
        if (!m_failed || m_connection->hasRequestsPending())
            complain("closed without an error, or with a queue"_s);
        m_connection->executeRequest(new Kolta::GeneralRequest(makeRequest("late"_s)));
        if (m_connection->hasRequestsPending() || m_connection->isOpen())
            complain("accepts requests after its end"_s);
        dropped += std::exchange(m_waiting, 0);
        m_queue.clear();
        m_connection->deleteLater();
        reopen();
        placeOrders();
    }
    void placeOrders()
    {
        for (int i = m_waiting == 0 ? m_random.below(20) : -1; i >= 0; --i)
            execute();
    }
    void execute()
    {
        if (answered >= m_wanted)
            return;
        m_queue.push_back(++executed);
        ++m_waiting;
        const int padding = m_random.below(100) == 0 ? m_random.below(500000) : 0;
        // No server has that component; the fault that comes back carries its name.
        const auto message = makeRequest("n%1"_s.arg(executed), 1, padding);
        m_connection->executeRequest(
            new ParameterRequest(message, this, SLOT(sl_reply(Kolta::ptrKoltaRequest))));
    }

    static constexpr int startUp = 0;
    const QString m_host;
    Random m_random;
    KoltaConnection* m_connection = nullptr;
    std::deque<int> m_queue; ///< numbers of requests that wait; start-up exchanges are forgotten when passed
    int m_waiting = 0;
    int m_wanted = 0;
    bool m_carried = false, m_opened = false, m_failed = false, m_headIsOurs = false;
    bool m_mustClose = false, m_mustReopen = false;
};

} // namespace

class tst_RandomFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// KOLTA_TEST_SEED repeats a run's random decisions, KOLTA_TEST_REQUESTS asks for more of it.
    void everyRequestIsAnsweredOnceOrDroppedAloud()
    {
        const quint32 seed = testSeed();
        const int requests = qMax(10000, qEnvironmentVariableIntValue("KOLTA_TEST_REQUESTS"));
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);

        const KoltaSimulation::Installation installation = sampleInstallation();
        KoltaSimulation::ServerThread server(installation);
        const char* const rules[] = {
            "close-at-once,chance=0.05", "stop-reading,chance=0.02", "cut,chance=0.01",
            "reset,chance=0.005",        "wrong-id,chance=0.003",    "silent,chance=0.002",
            "broken-xml,chance=0.002",   "twice,chance=0.1",         "delay=1,chance=0.02",
            "delay=2,chance=0.01",       "split=7,chance=0.01",      "merge=1,chance=0.05"};
        server.call([&](KoltaSimulation::SimulatedServer& simulated) {
            simulated.setSeed(seed);
            for (const char* rule : rules)
                simulated.addMisbehaviour(misbehaviour(QLatin1String(rule)));
        });

        // Whatever the links are doing at that moment: idle, sending, in the middle of a reply, silent.
        Random random(seed);
        QTimer cutter;
        connect(&cutter, &QTimer::timeout, &cutter, [&] {
            server.call([&](KoltaSimulation::SimulatedServer& simulated) {
                simulated.broadcast("Anything"_s, XmlCommon::CDataTree(QLatin1String("Data")));
                if (random.below(2) == 0)
                    simulated.cutLinks();
            });
            cutter.setInterval(1 + random.below(60));
        });
        cutter.start(10);

        std::vector<std::unique_ptr<Customer>> customers;
        for (quint32 i = 0; i < 4; ++i)
            customers.push_back(std::make_unique<Customer>(server.hostAndPort(), seed + i));
        for (const auto& customer : customers)
            customer->begin(requests / 4);
        for (const auto& customer : customers) {
            QVERIFY(runUntil([&] { return customer->isDone() || !customer->complaint.isEmpty(); },
                             3 * kPatienceMs));
            QCOMPARE(customer->complaint, QString());
            QCOMPARE(customer->answered + customer->dropped, customer->executed);
            QVERIFY(customer->reopened > 0 && customer->closed > 0);
            qInfo("%d requests: %d answered, %d dropped; %d links reopened, %d closed", customer->executed,
                  customer->answered, customer->dropped, customer->reopened, customer->closed);
        }
        cutter.stop();
        customers.clear();
        QTRY_COMPARE(Kolta::KoltaConnectionsViewer::Instance().connections().size(), 0);
    }
};

KOLTA_TEST(tst_RandomFaults);
#include "tst_randomfaults.moc"
