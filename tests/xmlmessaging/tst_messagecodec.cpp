#include <support/heapbytes.h>
#include <support/test.h>
#include <xmlmessaging/messagecodec.h>

#include <sys/resource.h>
#include <vector>

using namespace XmlCommon;

namespace {

QByteArray fragment(const QByteArray& content)
{
    return "<Message id=\"1\" service=\"1\"><Fragment component=\"c\">" + content + "</Fragment></Message>";
}

QByteArray data(const QByteArray& content)
{
    return fragment("<Data>" + content + "</Data>");
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasAllocatorOfItsOwn = true; // which keeps what is freed
#else
constexpr bool kHasAllocatorOfItsOwn = false;
#endif

/// Memory that the process has now.
double residentBytes()
{
    QFile file("/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toDouble() * 4096 : 0;
}

/// The most that it ever had.
double peakBytes()
{
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

} // namespace

class TestMessageCodec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cutAnywhereIsRefused()
    {
        const QByteArray text = data("<v a='1'>&lt;\xC3\xA4<!-- c --><![CDATA[x]]></v>");
        for (int size = 0; size < text.size(); ++size) {
            QString error;
            QVERIFY2(!MessageCodec::decode(text.left(size), error), qPrintable(QString::number(size)));
            QVERIFY(!error.isEmpty());
            // The rest behind the end must not be taken for part of it.
            QVERIFY(!MessageCodec::decode(QByteArray::fromRawData(text.constData(), size), error));
        }
    }

    void limits()
    {
        MessageLimits limits;
        limits.maxDepth = 4;
        limits.maxFragments = 2;
        limits.maxMessageBytes = 400;
        QString error;
        QVERIFY(MessageCodec::decode(data("<v/>"), error, limits));
        QVERIFY(!MessageCodec::decode(data("<v><w/></v>"), error, limits));
        const auto fragments = [](int count) -> QByteArray {
            return "<Message id=\"1\" service=\"1\">" +
                   QByteArray("<Fragment component=\"\"/>").repeated(count) + "</Message>";
        };
        QVERIFY(MessageCodec::decode(fragments(2), error, limits));
        QVERIFY(!MessageCodec::decode(fragments(3), error, limits));
        QVERIFY(!MessageCodec::decode(data("<v>" + QByteArray(400, 'x') + "</v>"), error, limits));
    }

    void memoryIsBounded()
    {
        const int size = MessageLimits().maxMessageBytes;
        QByteArray text = fragment("<Data><v></v></Data>");
        text.insert(text.indexOf("</v>"), QByteArray("<a/>").repeated(size / 4 - 40));
        const double before = residentBytes();
        QString error;
        const ptrCXmlMessage message = MessageCodec::decode(text, error);
        QVERIFY2(message, qPrintable(error));
        const double factor = (peakBytes() - before) / size;
        qInfo("beside the message at most %.2f times its bytes while it is decoded", factor);
        QVERIFY(kHasAllocatorOfItsOwn || factor <= 6);

        constexpr int count = 1000;
        std::vector<CDataTree> requests;
        const qint64 empty = heapBytes();
        for (int i = 0; i < count; ++i) {
            requests.emplace_back(QLatin1String("Set"));
            for (int k = 0; k < 10; ++k)
                requests.back().editRoot().append("Parameter", QString::number(k));
        }
        QVERIFY2(heapBytes() - empty <= 2048 * count,
                 qPrintable(QString::number((heapBytes() - empty) / count)));
    }

    void replyFillsRequest()
    {
        CXmlMessage request(CXmlMessage::eSERVICE_QUERY);
        request.setMessageID(5);
        CMsgFragment asked("c"_s);
        asked.setRequestTree(CRequestTree(CDataTree(QLatin1String("Get"))));
        asked.setDataTree(CDataTree(QLatin1String("Stale")));
        request.addFragment(asked);
        request.addFragment(asked);
        CXmlMessage reply(CXmlMessage::eSERVICE_QUERY_REPLY);
        CMsgFragment answer("c"_s);
        answer.setFaultTree(CFaultTree(1, 2));
        reply.addFragment(answer);
        request.fillWithReply(reply);
        QCOMPARE(request.getServiceType(), CXmlMessage::eSERVICE_QUERY_REPLY);
        QCOMPARE(request.getMessageID(), 5U);
        QVERIFY(request.getFragment(0).hasRequestTree() && request.getFragment(0).hasFaultTree());
        QVERIFY(!request.getFragment(0).hasDataTree() && !request.getFragment(1).hasDataTree());
        reply.addFragment(answer);
        reply.addFragment(answer);
        request.fillWithReply(reply);
        QCOMPARE(request.getNumberOfFragments(), 3);
        QVERIFY_EXCEPTION_THROWN(request.getFragment(3), std::out_of_range);

        // By component, wherever it stands; what was not asked comes behind.
        CXmlMessage mixed(CXmlMessage::eSERVICE_QUERY);
        CXmlMessage answers(CXmlMessage::eSERVICE_QUERY_REPLY);
        for (const char* name : {"a", "b", "c"})
            mixed.addFragment(CMsgFragment(QLatin1String(name)));
        for (const char* name : {"stray", "c", "a"}) {
            CMsgFragment fragment{QString(QLatin1String(name))};
            fragment.setDataTree(CDataTree(QLatin1String(name)));
            answers.addFragment(fragment);
        }
        mixed.fillWithReply(answers);
        QCOMPARE(mixed.getFragment(0).getDataTree().getRootTagname().toString(), "a"_s);
        QVERIFY(!mixed.getFragment(1).hasDataTree());
        QCOMPARE(mixed.getFragment(2).getDataTree().getRootTagname().toString(), "c"_s);
        QCOMPARE(mixed.missingReply(), "b"_s);
        QCOMPARE(mixed.getFragment(3).getComponentName(), "stray"_s);
        mixed.removeReplyFragments();
        QCOMPARE(mixed.getNumberOfFragments(), 3);
        QVERIFY(mixed.missingReply().isEmpty());
    }

    void generatorSkipsNothingAndNeverRepeats()
    {
        CXmlMessage first;
        CXmlMessage second;
        first.setMessageID_byGenerator();
        second.setMessageID_byGenerator();
        QVERIFY(first.getMessageID() != 0);
        QCOMPARE(second.getMessageID(), first.getMessageID() + 1);
    }
};

KOLTA_TEST(TestMessageCodec);
#include "tst_messagecodec.moc"
