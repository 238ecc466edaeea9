#include "probe.h"
#include "testmap.h"

#include <values/defaultvaluecreator.h>
#include <values/tree.h>

#include <QtTest>

using namespace values;

class TestValueItemMap : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void first()
    {
        TestMap map(QStringLiteral("x"));
        QCOMPARE(map.GetName(), QStringLiteral("x"));
        TestMap copy(map);
        QCOMPARE(copy.GetName(), QStringLiteral("x"));
        map.Add({QStringLiteral("a"), 1});
        QVERIFY(map != copy && copy.Assign(map) && map == copy);
        QVERIFY_EXCEPTION_THROWN(map.Add({QString(), 1}), std::logic_error);
        NumberMap numbers;
        for (unsigned i : {2u, 3u})
            numbers.Add({i, 1});
        QCOMPARE(numbers.Add({4294967295u, 1}), 4u);
        QVERIFY(DefaultValueCreator<TestMap>::Register() && CreateDefaultValue(201));
        numbers.Set({{1, 1}, {2, 2}}, true, true);
        QCOMPARE(numbers.Size(), std::size_t(2));
        std::string state;
        map.AddObjectStateStringForTransmission(state, 0);
        ByteReader in(state.data(), state.size());
        auto made = CreateValueForState(in);
        QVERIFY(made);
        CommandTransaction::Commands commands;
        QVERIFY(ReadCommands(*made, in, nullptr, commands));
        for (auto& c : commands)
            c->Execute();
        QVERIFY(map.Compare(made.get()));
        QCOMPARE(map.GetStringValue(), QStringLiteral("Item_a - 0 more items..."));
    }
};

QTEST_GUILESS_MAIN(TestValueItemMap)
#include "tst_valueitemmap.moc"
