#include <support/heapbytes.h>
#include <support/peerthread.h>
#include <support/rununtil.h>
#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <support/test.h>

#include <startup/errorhandler.h>

using namespace Kolta;
using XmlCommon::CXmlMessage;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int usualCount = 20000; // and the heap is not the C library's: only that it works is tested
#else
constexpr int usualCount = 100000;
#endif

/// A series of requests: each, when answered, is followed by the next.
struct Series
{
    int toSend = 0;
    int answered = 0;
    int warmUp = 0;
    qint64 heapAfterWarmUp = 0;
    qint64 heapAtLastRequest = 0; ///< while as many requests wait as after the warm-up

    ptrKoltaRequest next();
};

class InSeries : public GeneralRequest
{
public:
    explicit InSeries(Series& of) : GeneralRequest(makeRequest("Tuner"_s)), series(of) {}
    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage) override
    {
        if (++series.answered == series.warmUp)
            series.heapAfterWarmUp = heapBytes();
        return series.next();
    }

private:
    Series& series;
};

ptrKoltaRequest Series::next()
{
    if (toSend == 1)
        heapAtLastRequest = heapBytes();
    return toSend-- > 0 ? ptrKoltaRequest(new InSeries(*this)) : ptrKoltaRequest();
}

std::unique_ptr<KoltaConnection> connectionTo(const QString& host)
{
    return std::make_unique<KoltaConnection>("K"_s, "1.0"_s, host, false);
}

/// Counts the broadcasts of a connection, whose components are numbers from 0, for as long as they come in
/// order.
struct InOrder
{
    explicit InOrder(KoltaConnection& connection)
    {
        QObject::connect(&connection, &KoltaConnection::Broadcast, &connection,
                         [this](const XmlCommon::ptrCXmlMessage& message) {
                             if (message->getFragment(0).getComponentName() == QString::number(count) &&
                                 ++count == pauseAt)
                                 pause();
                         });
    }
    int count = 0;
    int pauseAt = -1;
    std::function<void()> pause;
};

/// Lets a thread wait until a link has told its end, without letting it read what the link has for it.
struct EndOfLink : Startup::ITraceSink
{
    EndOfLink() { Startup::ErrorHandler::Instance().addSink(this); }
    ~EndOfLink() override { Startup::ErrorHandler::Instance().removeSink(this); }
    void trace(const Startup::TraceRecord& record) override
    {
        if (record.source == "platform/xmlmessaging/linkworker"_s)
            told.release();
    }
    QSemaphore told;
};

/// An overview of 200 records in the tree, which changes: two of them at a time, and every second time there
/// is one more in front.
class ChangingOverview
{
public:
    ChangingOverview(const QString& root, const QString& record) : path("/S1/%1"_s.arg(root))
    {
        for (int turn = 0; turn < 8; ++turn) {
            QString text;
            for (int i = -(turn % 2); i < 200; ++i)
                text += record.arg(1000 + i).arg(QLatin1String(i % 100 == turn ? "false" : "true"));
            m_texts.append("<%1>%2</%1>"_s.arg(root, text));
        }
        m_value = values::Tree::Instance().Emplace<values::StringValue>(path);
        change();
    }
    /// Each text comes in memory of its own, as over a link.
    void change()
    {
        const QString& text = m_texts.at(m_turn++ % m_texts.size());
        m_value->SetValue(QString(text.constData(), text.size()));
    }

    const QString path;

private:
    QStringList m_texts;
    values::StringValue* m_value = nullptr;
    int m_turn = 0;
};

} // namespace

class tst_Endurance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QTRY_COMPARE(KoltaConnectionsViewer::Instance().connections().size(), 0); }

    /// KOLTA_TEST_REQUESTS sets how many requests there are.
    void keepsNothingOfWhatIsDone()
    {
        const int given = qEnvironmentVariableIntValue("KOLTA_TEST_REQUESTS");
        const int count = given > 0 ? given : usualCount;
        PeerThread peer;
        const auto connection = connectionTo(peer.host());
        Series series;
        series.toSend = count;
        series.warmUp = count / 10;
        for (int i = 0; i < 50; ++i)
            connection->executeRequest(series.next());
        connection->open();
        QVERIFY(runUntil([&] { return series.answered == count; }, 60 * kPatienceMs));
        const qint64 growth = series.heapAtLastRequest - series.heapAfterWarmUp;
        qInfo("%d requests, heap in use grew by %lld bytes", count, static_cast<long long>(growth));
        QVERIFY2(growth < 128 * 1024, qPrintable(QString::number(growth)));
    }

    /// Neither the mirrors nor what follows them; and a server that goes takes its processors and owners
    /// along.
    void mirrorsKeepNothingOfWhatWas()
    {
        ChangingOverview tuners("ResourceOverview"_s,
                                "<Tuner><TavikResource><GUID>%1</GUID><Address>%1</Address></TavikResource>"
                                "<Accessible>true</Accessible><Idle>%2</Idle></Tuner>"_s);
        ChangingOverview processors("ProcessorOverview"_s,
                                    "<MCP><KoltaProcessor><TavikResource><GUID>%1</GUID><DisplayName>%2"
                                    "</DisplayName></TavikResource></KoltaProcessor></MCP>"_s);
        ChangingOverview owners("OwnerOverview"_s,
                                "<Owner><OwnedGUID>%1</OwnedGUID><ClientID>%2</ClientID></Owner>"_s);
        KoltaResourceObserver resources(tuners.path);
        TunerBookingManager booking;
        booking.init(resources);
        TunerClassResourceSelector selector;
        const qint64 before = heapBytes();
        KoltaProcessorObserver running(processors.path);
        KoltaOwnerObserver owning(owners.path);
        qint64 settled = 0;
        for (int update = 0; update < 1000; ++update) {
            for (ChangingOverview* const overview : {&tuners, &processors, &owners})
                overview->change();
            selector.setResourceOverview(resources.GetCurrentResources());
            selector.selectTuner("root"_s);
            if (update == 103)
                settled = heapBytes();
        }
        QCOMPARE(resources.GetCurrentResources().GetTuner().size(), 200);
        QCOMPARE(running.GetCurrentProcessors().GetMCP().size(), 200);
        QCOMPARE(owning.GetCurrentOwners().GetOwner().size(), 200);
        const qint64 grown = heapBytes() - settled;
        values::Tree::Instance().Clear();
        const qint64 kept = heapBytes() - before;
        qInfo("grown by %lld bytes, kept %lld", static_cast<long long>(grown), static_cast<long long>(kept));
        QVERIFY(grown < 32 * 1024);
        QVERIFY(kept < 32 * 1024);
    }

    /// What a server sends right before it ends is heard to the last message, also by an owner who was busy
    /// meanwhile, and also in an event loop of the owner's own.
    void lastWordsAreHeard()
    {
        constexpr int words = 700;
        PeerThread peer(PeerThread::answer, [](PeerThread::Link* link) {
            for (int i = 0; i < words; ++i)
                link->send(*makeRequest(QString::number(i), CXmlMessage::eSERVICE_BROADCAST));
            link->close();
        });
        const auto connection = connectionTo(peer.host());
        InOrder heard(*connection);
        bool heardAllInside = false;
        heard.pauseAt = 300;
        heard.pause = [&] { heardAllInside = runUntil([&] { return heard.count == words; }); };
        QSignalSpy closed(connection.get(), &KoltaConnection::ConnectionClosed);
        EndOfLink end;
        connection->open();
        QVERIFY(end.told.tryAcquire(1, 10000));
        QTRY_COMPARE(closed.count(), 1);
        QCOMPARE(heard.count, words);
        QVERIFY(heardAllInside);
    }
};

KOLTA_TEST(tst_Endurance);
#include "tst_endurance.moc"
