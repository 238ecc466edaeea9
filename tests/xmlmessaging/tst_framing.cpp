#include <xmlmessaging/framing.h>

#include <QtTest>

#include <algorithm>
#include <ctime>
#include <limits>

using XmlCommunication::FrameReader;

namespace {

QList<QByteArray> takeAll(FrameReader& reader)
{
    QList<QByteArray> messages;
    QByteArray message;
    while (reader.next(message))
        messages.append(message);
    return messages;
}

} // namespace

class TestFraming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void brokenStreams_data();
    void brokenStreams();
    void tinyChunksTakeLinearTime();
};

void TestFraming::brokenStreams_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<int>("position");
    QTest::newRow("no line feed") << QByteArray("<Message/>") << 0;
    QTest::newRow("no hash") << QByteArray("\n<") << 1;
    QTest::newRow("no chunk") << QByteArray("\n##\n") << 2;
    QTest::newRow("size zero") << QByteArray("\n#0\n") << 2;
    QTest::newRow("leading zero") << QByteArray("\n#01\nx") << 2;
    QTest::newRow("sign") << QByteArray("\n#+1\nx") << 2;
    QTest::newRow("empty size") << QByteArray("\n#\n") << 2;
    QTest::newRow("letter") << QByteArray("\n#1a\n") << 3;
    QTest::newRow("over 32 bits") << QByteArray("\n#4294967296\n") << 11;
    QTest::newRow("endless size") << QByteArray("\n#1111111111111111111111") << 12;
    QTest::newRow("over the limit") << QByteArray("\n#101\n") << 6;
    QTest::newRow("sum over the limit") << QByteArray("\n#1\nx\n#100\n") << 11;
    QTest::newRow("chunk too long") << QByteArray("\n#1\nxy") << 5;
    QTest::newRow("malformed end") << QByteArray("\n#1\nx\n##x") << 8;
    QTest::newRow("second message") << QByteArray("\n#1\nx\n##\n\r\n#1\ny") << 9;
}

void TestFraming::brokenStreams()
{
    QFETCH(QByteArray, stream);
    QFETCH(int, position);
    FrameReader whole(100);
    whole.feed(stream.constData(), stream.size());
    takeAll(whole);
    FrameReader bytes(100);
    for (const char byte : stream) {
        bytes.feed(&byte, 1);
        takeAll(bytes);
    }
    QVERIFY2(whole.error().contains(QStringLiteral(" at byte %1, expected ").arg(position)),
             qPrintable(whole.error()));
    QCOMPARE(bytes.error(), whole.error());
    whole.feed("\n#1\nx\n##\n", 9);
    QVERIFY(takeAll(whole).isEmpty());
    whole.reset();
    whole.feed("\n#1\nx\n##\n", 9);
    QCOMPARE(takeAll(whole), QList<QByteArray>{"x"});
}

void TestFraming::tinyChunksTakeLinearTime()
{
    // Processor time, the best of three: other work on the machine must not decide.
    const auto measure = [](int chunks) {
        const QByteArray stream = QByteArray("\n#1\nx").repeated(chunks) + "\n##\n";
        std::clock_t best = std::numeric_limits<std::clock_t>::max();
        for (int run = 0; run < 3; ++run) {
            const std::clock_t start = std::clock();
            FrameReader reader(chunks);
            reader.feed(stream.constData(), stream.size());
            QByteArray message;
            if (!reader.next(message) || message.size() != chunks)
                return std::clock_t(-1);
            best = std::min(best, std::clock() - start);
        }
        return best;
    };
    const std::clock_t small = measure(50000);
    const std::clock_t large = measure(1000000);
    QVERIFY(small >= 0 && large >= 0);
    // Linear is 20 times, quadratic 400 times.
    QVERIFY2(large < (small + 1) * 120, qPrintable(QStringLiteral("%1 %2").arg(small).arg(large)));
}

QTEST_GUILESS_MAIN(TestFraming)
#include "tst_framing.moc"
