#include <koltacommon/singleshotlambda.h>
#include <support/test.h>

#include <values/tree.h>
#include <values/value.h>

#include <stdexcept>

using Kolta::SingleShotLambda;

class tst_SingleShotLambda : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsOnceAndLater()
    {
        auto held = std::make_shared<int>(0);
        QStringList order;
        SingleShotLambda::Create(-1, [held, &order] {
            ++*held;
            order.append("now"_s);
        });
        SingleShotLambda::Create(20, [held, &order] { order.append("later"_s); });
        SingleShotLambda::Create(0, std::function<void()>());
        SingleShotLambda::Create(
            0, [held] { ++*held; }, static_cast<QObject*>(nullptr));
        QCOMPARE(*held, 0);
        // With the timers their functions go, and with these what they hold.
        QTRY_COMPARE(held.use_count(), 1L);
        QCOMPARE(*held, 2);
        QCOMPARE(order.join(QLatin1Char(' ')), "now later"_s);
    }

    void endsWithItsOwner()
    {
        int runs = 0;
        const auto count = [&runs] { ++runs; };
        auto parent = std::make_unique<QObject>();
        auto observable = std::make_unique<Observable>();
        Observable alive;
        values::Tree tree;
        auto* const value = tree.Emplace<values::StringValue>("/a"_s, QString());
        SingleShotLambda::Create(0, count, parent.get());
        SingleShotLambda::Create(0, count, observable.get());
        SingleShotLambda::Create(0, count, value);
        SingleShotLambda::Create(0, count, &alive);
        parent.reset();
        observable.reset();
        tree.Remove("/a"_s);
        // The timer does not keep the deleted item in its tree.
        QCOMPARE(tree.Size(), 0);
        bool last = false;
        SingleShotLambda::Create(5, [&last] { last = true; });
        QTRY_VERIFY(last);
        QCOMPARE(runs, 1);
        QVERIFY(!alive.HasObservers());
    }

    void survivesItsFunction()
    {
        Startup::TraceRecorder recorder;
        auto* const parent = new QObject;
        bool deleted = false;
        SingleShotLambda::Create(
            0,
            [parent, &deleted] {
                delete parent;
                deleted = true;
            },
            parent);
        SingleShotLambda::Create(0, [] { throw std::runtime_error("bad"); });
        SingleShotLambda::Create(0, [] { throw 1; });
        QTRY_COMPARE(recorder.count("exception from SingleShotLambda"_s), 2);
        QVERIFY(deleted);
    }
};

KOLTA_TEST(tst_SingleShotLambda);
#include "tst_singleshotlambda.moc"
