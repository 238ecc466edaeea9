#include <startup/clock.h>
#include <support/test.h>

#include <stdexcept>

using Startup::Clock;
using Startup::ManualClock;
using Startup::ptrAlarm;

class tst_Clock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ringsFromTheEventLoop()
    {
        Clock& clock = Clock::instance();
        const qint64 begin = clock.now();
        int rung = 0;
        ptrAlarm past = clock.ringAt(begin - 5, [&] {
            past.reset();
            ++rung;
        });
        const ptrAlarm later = clock.ringAt(begin + 30, [&] { ++rung; });
        ptrAlarm never = clock.ringAt(begin + 10, [&] { QFAIL("called off"); });
        const ptrAlarm far = clock.ringAt(begin + (qint64(1) << 40), [&] { QFAIL("far too early"); });
        QCOMPARE(rung, 0);
        never.reset();
        QTRY_COMPARE(rung, 2);
        QVERIFY(clock.now() >= begin + 30);
    }

    void isReplacedByOneThatTestsMove()
    {
        Clock& machine = Clock::instance();
        {
            ManualClock manual;
            const Clock::Replacement replacement(manual);
            QCOMPARE(&Clock::instance(), &manual);
            QVector<qint64> rung;
            ptrAlarm first, second, third, nested;
            second = manual.ringAt(20, [&] {
                rung.append(manual.now());
                third.reset(); // called off by one that is due at the same time
                nested = manual.ringAt(25, [&] { rung.append(manual.now()); });
                throw std::runtime_error("goes no further");
            });
            third = manual.ringAt(20, [&] { rung.append(-1); });
            first = manual.ringAt(10, [&] { rung.append(manual.now()); });
            manual.advance(9);
            QCOMPARE(manual.nextAlarmIn(), qint64(1));
            QVERIFY(rung.isEmpty());
            Startup::TraceRecorder recorder;
            manual.advance(91);
            QCOMPARE(rung, (QVector<qint64>{10, 20, 25}));
            QCOMPARE(recorder.count("goes no further"_s), 1);
            QCOMPARE(manual.now(), qint64(100));
            QCOMPARE(manual.nextAlarmIn(), qint64(-1));
        }
        QCOMPARE(&Clock::instance(), &machine);
    }
};

KOLTA_TEST(tst_Clock);
#include "tst_clock.moc"
