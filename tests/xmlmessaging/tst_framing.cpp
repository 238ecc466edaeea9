#include <support/test.h>
#include <xmlmessaging/framing.h>

#include <algorithm>
#include <ctime>
#include <limits>

using XmlCommunication::FrameReader;

class TestFraming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyAResetHeals()
    {
        const QByteArray good = "\n#1\nx\n##\n";
        FrameReader reader(100);
        reader.feed("\n#1\nxy", 6);
        for (const bool isHealed : {false, true}) {
            reader.feed(good.constData(), good.size());
            QByteArray message;
            QCOMPARE(reader.next(message), isHealed);
            QCOMPARE(reader.error().isEmpty(), isHealed);
            reader.reset();
        }
    }

    void tinyChunksTakeLinearTime()
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
        QVERIFY2(large < (small + 1) * 120, qPrintable("%1 %2"_s.arg(small).arg(large)));
    }
};

KOLTA_TEST(TestFraming);
#include "tst_framing.moc"
