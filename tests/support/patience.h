#pragma once

#include <QDeadlineTimer>
#include <QTest>

#include <utility>

/// How long a test waits for what has to come, at most: no healthy run takes so long, however busy the
/// machine.
constexpr int kPatienceMs = 60000;

/// Lets events be handled, a moment each time, until patience is at an end.
class Patience
{
public:
    bool wait()
    {
        if (m_limit.hasExpired())
            return false;
        QTest::qWait(std::exchange(m_stepMs, 50));
        return true;
    }

private:
    const QDeadlineTimer m_limit{kPatienceMs};
    int m_stepMs = 0;
};

/// Handles events until `condition()` holds; false when it never does.
template<class Condition>
bool waitFor(const Condition& condition)
{
    return QTest::qWaitFor(condition, kPatienceMs);
}

// Qt's own give up after five seconds, and go on waiting twice as long only to say so.
#define KOLTA_AWAIT(condition)                                                                               \
    for (Patience koltaPatience; !(condition) && koltaPatience.wait();) {                                    \
    }
#undef QTRY_VERIFY
#define QTRY_VERIFY(condition)                                                                               \
    do {                                                                                                     \
        KOLTA_AWAIT(condition)                                                                               \
        QVERIFY(condition);                                                                                  \
    } while (false)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(condition, description)                                                                 \
    do {                                                                                                     \
        KOLTA_AWAIT(condition)                                                                               \
        QVERIFY2(condition, description);                                                                    \
    } while (false)
#undef QTRY_COMPARE
#define QTRY_COMPARE(actual, expected)                                                                       \
    do {                                                                                                     \
        KOLTA_AWAIT((actual) == (expected))                                                                  \
        QCOMPARE(actual, expected);                                                                          \
    } while (false)
