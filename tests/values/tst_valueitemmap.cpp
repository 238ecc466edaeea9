#include "testmap.h"
#include <support/probe.h>
#include <support/test.h>

#include <values/defaultvaluecreator.h>
#include <values/tree.h>

#include <stdexcept>

using namespace values;

namespace {

std::string stringOf(const Command& command, int flags = eTransmitPlain)
{
    std::string out;
    command.AddCommandString(out, flags);
    return out;
}
QString logOf(const TestMap& map, unsigned int first)
{
    QString text;
    const bool whole = map.GetChangeLog().ForEachSince(first, [&](const auto& entry) {
        text += "%1%2:%3 "_s.arg(int(entry.kind)).arg(entry.key).arg(entry.number);
    });
    return whole ? text.trimmed() : "lost"_s;
}

/// Writes the identifiers of recorded commands into the log that the observers write too: "20", "(21,22)".
class Journal : public ICommandRecorder
{
public:
    explicit Journal(QStringList* log) : m_log(log) {}
    void OnCommand(ValueBase&, std::unique_ptr<Command> command) override
    {
        *m_log << name(*command);
        commands.push_back(std::move(command));
    }
    void OnBulkUpdate(ValueBase&, IObserver*, bool replace, bool difference) override
    {
        *m_log << "bulk%1%2"_s.arg(replace).arg(difference);
    }
    void OnContentReplaced(ValueBase&) override { *m_log << "replaced"_s; }
    CommandTransaction::Commands commands;

private:
    static QString name(const Command& command)
    {
        if (const auto* all = dynamic_cast<const CommandTransaction*>(&command)) {
            QStringList names;
            for (const auto& part : all->GetCommands())
                names << name(*part);
            return "("_s + names.join(QLatin1Char(',')) + ")"_s;
        }
        return QString::number(dynamic_cast<const ValueBase::CommandOnValue&>(command).GetCommandId());
    }
    QStringList* m_log;
};

/// A map with a journal and an observer "o" that write into one log.
struct Scene
{
    explicit Scene(const char* content = "") : map(std::make_unique<TestMap>("m"_s))
    {
        run(content);
        map->InstallRecorder(&journal);
        map->Attach(&probe);
        map->SetChangeLogSize(0);
        map->SetChangeLogSize(100);
    }
    /// "a=1" sets, "-a" erases, "!" clears, "[" and "]" open and close a transaction, "+xy:a=1,b=2" sets a
    /// list.
    void run(const char* script)
    {
        for (const QString& step : QString::fromLatin1(script).split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            if (step == "["_s)
                open.push_back(std::make_unique<ValueBase::Transaction>(map->CreateTransaction()));
            else if (step == "]"_s)
                open.pop_back();
            else if (step == "!"_s)
                map->Clear();
            else if (step.startsWith(QLatin1Char('-')))
                map->EraseAt(step.mid(1));
            else if (step.startsWith(QLatin1Char('+')))
                map->Set(items(step.mid(4)), step[1] == QLatin1Char('1'), step[2] == QLatin1Char('1'));
            else
                map->Add(items(step).front());
        }
    }
    static std::list<TextItem> items(const QString& text)
    {
        std::list<TextItem> list;
        for (const QString& pair : text.split(QLatin1Char(',')))
            list.emplace_back(pair.section(QLatin1Char('='), 0, 0),
                              pair.section(QLatin1Char('='), 1).toInt());
        return list;
    }
    QString content() const
    {
        QStringList parts;
        for (const auto& [key, item] : map->data())
            parts << key + "="_s + QString::number(item.number);
        parts.sort();
        return parts.join(QLatin1Char(' '));
    }

    QStringList log;
    Journal journal{&log};
    Probe probe{&log, "o"_s};
    std::unique_ptr<TestMap> map;
    std::vector<std::unique_ptr<ValueBase::Transaction>> open;
};

/// The three commands on "ab", a transaction of two, one with the target's path; the header of a state.
const char* const goldenSet =
    "1b000000 1400 00000000 02000000 61006200 3b 0d000000 01 00000004 00610062 00000007 3b";
const char* const goldenErase = "09000000 1500 00000000 02000000 61006200 3b";
const char* const goldenClear = "00000000 1600 00000000";
const char* const goldenBoth = "21000000 0100 00000000 02000000"
                               "09000000 1500 00000000 02000000 61006200 3b 00000000 1600 00000000";
const char* const goldenPath = "09000000 1500 01000000 6d00 02000000 61006200 3b";
const char* const goldenHeader = "0c000000 01 c9000000 00 01000000 6d00";

std::string fromHex(const QByteArray& text)
{
    return QByteArray::fromHex(text).toStdString();
}
std::unique_ptr<Command> read(TestMap& map, const std::string& bytes, IObserver* originator = nullptr)
{
    // Of exactly that size, so that reading behind it is seen.
    const std::vector<char> exact(bytes.begin(), bytes.end());
    ByteReader in(exact.data(), exact.size());
    auto command = ReadCommand(map, in, originator);
    return in.Remaining() == (command ? 0 : exact.size()) ? std::move(command) : nullptr;
}

} // namespace

class TestValueItemMap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes_data()
    {
        const Rows<QByteArray, QByteArray, QString, QString, QString> row(
            "before script log changes content");
        row("insert, repeat, replace", "", "a=1 a=1 a=2", "20 o3 20 o3", "1a:0 1a:1", "a=2");
        row("erase, absent", "a=1", "-b -a -a", "21 o3", "2a:1", "");
        row("clear, empty", "a=1 b=2", "! !", "22 o3", "3:2", "");
        row("transactions nest", "", "[ a=1 [ -a ] [ ! ] b=1 ] c=1", "o3 o3 o3 (20,21,20) 20 o3",
            "1a:0 2a:1 1b:2 1c:3", "b=1 c=1");
        row("transaction of one", "a=1", "[ -a ]", "o3 21", "2a:1", "");
        row("set adds", "a=1 b=2", "+00:a=3,c=4", "bulk00 o3 o3 (20,20)", "1a:2 1c:3", "a=3 b=2 c=4");
        row("set replaces", "a=1 b=2", "+10:a=1,c=4", "bulk10 o3 o3 o3 (22,20,20)", "3:2 1a:3 1c:4",
            "a=1 c=4");
        row("set adds the difference", "a=1 b=2", "+01:a=1,b=3", "bulk01 o3 20", "1b:2", "a=1 b=3");
        row("set becomes equal", "a=1 b=2", "+11:c=4,a=1", "bulk11 o3 o3 (20,21)", "1c:2 2b:3", "a=1 c=4");
        row("set of the same", "a=1", "+11:a=1", "bulk11", "", "a=1");
    }
    void changes()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, script);
        Scene scene(before), mirror(before);
        const unsigned int first = scene.map->GetChangeNumber();
        scene.run(script);
        QTEST(scene.log.join(QLatin1Char(' ')), "log");
        QTEST(scene.content(), "content");
        QTEST(logOf(*scene.map, first), "changes");
        // What was recorded does the same elsewhere, when it has travelled and when it has not.
        for (const auto& command : scene.journal.commands) {
            const auto travelled = read(*mirror.map, stringOf(*command));
            QVERIFY(travelled);
            QCOMPARE(hex(stringOf(*travelled->Clone())), hex(stringOf(*command)));
            travelled->Execute();
        }
        QVERIFY(*mirror.map == *scene.map);
        QCOMPARE(logOf(*mirror.map, first), logOf(*scene.map, first));
    }

    void keys()
    {
        for (const auto& [stored, expected] :
             {std::pair<std::vector<unsigned>, unsigned>{{0, 1, 3}, 4}, {{2, 3}, 4}, {{}, 0}}) {
            NumberMap map;
            for (const unsigned key : stored)
                map.Add({key, 1});
            QCOMPARE(map.Add({NumberMap::GetInvalidKey(), 7}), expected);
            QCOMPARE(map.At(expected).number, 7);
            // A new key is not among the keys of the list, and yet stays.
            map.Set({{NumberMap::GetInvalidKey(), 9}}, true, true);
            QCOMPARE(map.Size(), std::size_t(1));
        }
        Scene scene("a=1");
        const auto message = [&](const auto& call) {
            try {
                call();
            } catch (const std::logic_error& error) { // out_of_range is one
                return QString::fromLatin1(error.what());
            }
            return QString();
        };
        QCOMPARE(
            message([&] {
                scene.map->SetAt(QString(), {"x"_s, 1});
            }),
            "Cannot create unique key for this KeyType. Override CreateNewUnqiqueKey() method in your item "
            "map specialization"_s);
        QCOMPARE(message([&] { scene.map->At("b"_s); }), "invalid unordered_map<K, T> key"_s);
        QVERIFY(scene.log.isEmpty() && scene.content() == "a=1"_s);
        // What a transaction holds is recorded although the exception passes through it.
        message([&] {
            const auto transaction = scene.map->CreateTransaction();
            scene.run("b=1 c=1 =1");
        });
        QCOMPARE(scene.log.last(), "(20,20)"_s);
    }

    void bytes_data()
    {
        const Rows<QByteArray, QString> row("golden content"); // of a map "ab=1 c=2" afterwards
        row("set", QByteArray(goldenSet), "ab=7 c=2"_s);
        row("erase", QByteArray(goldenErase), "c=2"_s);
        row("clear", QByteArray(goldenClear), QString());
        row("transaction", QByteArray(goldenBoth), QString());
        row("with path", QByteArray(goldenPath), "c=2"_s);
    }
    void bytes()
    {
        QFETCH(QByteArray, golden);
        const std::string good = fromHex(golden);
        Scene scene("ab=1 c=2");
        auto originator = std::make_unique<Probe>(&scene.log, "x"_s);
        scene.map->Attach(originator.get());
        QVERIFY(scene.log.isEmpty());
        const auto command = read(*scene.map, good, originator.get());
        QVERIFY(command);
        const bool path = golden.contains("6d00");
        QCOMPARE(hex(stringOf(*command, path ? eTransmitTargetPath : eTransmitPlain)), hex(good));
        command->Execute();
        QTEST(scene.content(), "content");
        QVERIFY(!scene.log.contains("x3"_s) && scene.log.contains("o3"_s));
        originator.reset(); // the command outlives it
        scene.run("ab=2");
        command->Execute();
        QTEST(scene.content(), "content");
    }
    void state()
    {
        QVERIFY(DefaultValueCreator<TestMap>::Register() && DefaultValueCreator<TestMap>::Register());
        QVERIFY(!RegisterValueCreator(201, &DefaultValueCreator<NumberMap>::Create));
        QVERIFY(!CreateDefaultValue(12345));
        for (const char* const content : {"", "ab=7", "ab=7 c=2 d=3"}) {
            Scene scene(content);
            std::string bytes;
            scene.map->AddObjectStateStringForTransmission(bytes, eTransmitPlain);
            const std::string start = fromHex(goldenHeader) + fromHex(goldenClear);
            QCOMPARE(hex(bytes.substr(0, start.size())), hex(start));
            QCOMPARE(bytes.find(fromHex(goldenSet)) != std::string::npos, *content != 0);
            QCOMPARE(bytes.size() == start.size(), *content == 0);
            ValueHeader header;
            for (std::size_t size = 0; size < 16; ++size) {
                ByteReader in(bytes.data(), size);
                QVERIFY(!ReadValueHeader(in, header));
            }
            ByteReader in(bytes.data(), bytes.size());
            QVERIFY(ReadValueHeader(in, header) && header.path == "m"_s);
            const auto made = CreateDefaultValue(header.type);
            QVERIFY(made);
            const ByteReader cut(in.Position(), in.Remaining() - 1);
            QVERIFY(!ForEachCommand(*made, cut, nullptr, [](const Command&) {}));
            QVERIFY(ForEachCommand(*made, in, nullptr, [](Command& command) { command.Execute(); }));
            QVERIFY(scene.map->Compare(made.get()));
        }
    }

    void equality()
    {
        Scene one("a=1 b=2"), other("b=2 a=1");
        one.map->SetFilename("f"_s);
        QVERIFY(*one.map != *other.map);
        other.map->SetFilename("f"_s);
        QVERIFY(one.map->Compare(other.map.get()) && !one.map->Compare(nullptr));
        other.run("a=3");
        other.log.clear();
        QVERIFY(*one.map != *other.map);
        QVERIFY(other.map->Assign(*one.map) && other.map->Assign(*other.map) && *one.map == *other.map);
        QVERIFY(!other.map->Assign(NumberMap()) && !NumberMap().Compare(other.map.get()));
        QCOMPARE(other.log, QStringList("replaced"_s));
        QCOMPARE(logOf(*other.map, 2), "1a:2"_s);
        const TestMap copy(*one.map);
        QVERIFY(copy == *one.map && copy.GetName() == "m"_s && !copy.Record() && !copy.HasObservers());
        QCOMPARE(copy.find({"b"_s, 2}), "b"_s);
        QVERIFY(copy.find({"b"_s, 3}).isNull());
        one.map->SetMap({{"k"_s, {"other"_s, 5}}, {"a"_s, {"a"_s, 1}}});
        QVERIFY(one.map->IndexVector().size() == 2 && one.map->At("k"_s).key == "other"_s);
        one.map->SetMap(one.map->data());
        one.map->Set(one.map->data(), true, false);
        QCOMPARE(one.content(), "a=1 other=5"_s);
        QVERIFY(QStringList({"Item_a - 1 more items..."_s, "Item_other - 1 more items..."_s})
                    .contains(one.map->GetStringValue()));
        one.run("-a");
        QCOMPARE(one.map->GetStringValue(), "Item_other - 0 more items..."_s);
        QVERIFY(TestMap().GetStringValue().isNull());
    }

    void tombstone()
    {
        Tree tree;
        Scene scene;
        TestMap* const map = tree.Emplace<TestMap>("/s/m"_s);
        map->Attach(&scene.probe);
        map->InstallRecorder(&scene.journal);
        map->Add({"a"_s, 1});
        const auto late = scene.journal.commands.front()->Clone();
        auto transaction = std::make_unique<ValueBase::Transaction>(map->CreateTransaction());
        map->Add({"b"_s, 1});
        tree.Remove("/s"_s);
        late->Execute();
        QVERIFY(map->SetAt("c"_s, {"c"_s, 1}).isNull() && map->Empty());
        auto fresh = std::make_unique<TestMap>("m"_s);
        fresh->Add({"d"_s, 1});
        QCOMPARE(tree.Add("/s/m"_s, std::move(fresh)), map);
        QCOMPARE(map->Size(), std::size_t(1));
        transaction.reset(); // what it held belonged to the former content
        QCOMPARE(scene.log.join(QLatin1Char(' ')), "20 o3 o3 replaced o2 replaced o2 o3"_s);
        map->Detach(&scene.probe);
        tree.Remove("/s"_s);
        late->Execute();
        QVERIFY(!dynamic_cast<ValueBase::CommandOnValue&>(*late).GetTarget());
        QCOMPARE(hex(stringOf(*late->Clone())).left(20), hex(stringOf(*late)).left(20));
    }

    void deletedByAnObserver_data()
    {
        const Rows<QByteArray> row("script");
        for (const char* const script :
             {"c=1", "-a", "!", "+00:c=1,d=2", "+10:c=1,d=2", "+11:c=1,d=2", "+11:a=1", "[ c=1 d=1"})
            row(script, QByteArray(script));
    }
    /// The map dies in the first notification, or, in a tree, becomes a tombstone.
    void deletedByAnObserver()
    {
        QFETCH(QByteArray, script);
        Scene scene("a=1 b=2");
        scene.probe.action = [&](Observable*, TChangeCode) { scene.map.reset(); };
        if (script.startsWith('[')) {
            const auto transaction = scene.map->CreateTransaction();
            scene.run("c=1");
        } else {
            scene.run(script);
        }
        QVERIFY(!scene.map && scene.log.count("o3"_s) == 1);

        Tree tree;
        QStringList log;
        Probe probe(&log);
        auto originator = std::make_unique<Probe>(&log);
        TestMap* const map = tree.Emplace<TestMap>("/m"_s, *Scene("a=1 b=2").map);
        map->Attach(&probe);
        probe.action = [&](Observable*, TChangeCode) {
            originator.reset();
            if (script.endsWith('1'))
                tree.Remove("/m"_s);
        };
        map->Set({{"c"_s, 1}, {"d"_s, 1}}, true, true, originator.get());
        QCOMPARE(map->Size(), std::size_t(script.endsWith('1') ? 0 : 2));
    }

    void changeLogIsBounded()
    {
        ChangeLogTemplate<char, QString> log;
        unsigned int number = 4294967290u; // the number overflows on the way
        const auto since = [&](unsigned int first) {
            QString text;
            return log.ForEachSince(first, [&](const auto& entry) { text += entry.key; }) ? text : "lost"_s;
        };
        const auto append = [&](const char* keys) {
            for (; *keys; ++keys)
                log.Append(1, QString(QLatin1Char(*keys)), number++);
        };
        log.SetChangeLogSize(4);
        append("abcdef");
        QCOMPARE(since(number - 4) + since(number - 5) + since(number - 1) + since(number), "cdeflostf"_s);
        log.SetChangeLogSize(3);
        append("gh");
        QCOMPARE(since(number - 3) + since(number - 4), "fghlost"_s);
        log.SetChangeLogSize(5);
        append("ij");
        QCOMPARE(since(number - 5), "fghij"_s);
        log.SetChangeLogSize(0);
        append("k");
        QCOMPARE(since(number - 1) + since(number), "lost"_s);
    }
};

KOLTA_TEST(TestValueItemMap);
#include "tst_valueitemmap.moc"
