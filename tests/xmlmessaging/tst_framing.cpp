#include <support/test.h>
#include <xmlmessaging/framing.h>

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
};

KOLTA_TEST(TestFraming);
#include "tst_framing.moc"
