#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <koltacommon/shorttimevalues.h>

#include <values/defaultvaluecreator.h>
#include <values/localreplicapair.h>

#include <QRandomGenerator>
#include <QtTest>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

using namespace Kolta;

namespace {

ShortTimeProfile profileNamed(const QString& name)
{
    ShortTimeProfile profile;
    profile.name = name;
    profile.useHopRate = profile.useSymbolRate = true;
    return profile;
}

ShortTimeFFPAssignment assignmentOf(const QString& guid)
{
    ShortTimeFFPAssignment assignment;
    assignment.ffpGuid = guid;
    return assignment;
}

/// Keeps the bytes of every command.
class Recorder : public values::ICommandRecorder
{
public:
    explicit Recorder(values::ValueBase& value) : m_value(&value) { value.InstallRecorder(this); }
    ~Recorder() override
    {
        if (values::ValueBase* const value = m_value.Get())
            value->RemoveRecorder(this);
    }
    void OnCommand(values::ValueBase&, std::unique_ptr<values::Command> command) override
    {
        std::string bytes;
        command->Clone()->AddCommandString(bytes, values::eTransmitPlain);
        commands.append(QByteArray::fromStdString(bytes));
    }
    QList<QByteArray> commands;

private:
    values::Weak<values::ValueBase> m_value;
};

class Observer : public IObserver
{
public:
    explicit Observer(Observable& source) { source.Attach(this); }
    void Update(Observable*, TChangeCode code) override
    {
        ++calls;
        calls += code == eChangeValue ? 0 : 1000;
        const auto run = action;
        if (run)
            run();
    }
    int calls = 0;
    std::function<void()> action;
};

/// "kind:key" of every entry; kinds that are no characters as "#1".
template<class Map>
QString logOf(const Map& map)
{
    QStringList entries;
    for (std::size_t i = 0; i < map.GetChangeLog().Size(); ++i) {
        const auto& entry = map.GetChangeLog().At(i);
        entries << (entry.kind < 10 ? QStringLiteral("#%1:").arg(int(entry.kind))
                                    : QStringLiteral("%1:").arg(QLatin1Char(entry.kind))) +
                       entry.key;
    }
    return entries.join(QLatin1Char(' '));
}

void addRequests(...) {}
template<class Protocol>
void addRequests(std::map<QString, std::string>* content, const ItemMapWithRequests<Protocol>* map)
{
    for (const auto& [id, request] : map->GetPendingRequests())
        Protocol::AppendRequest((*content)[QLatin1Char('?') + id.toString()], request);
}
/// Items and open requests as bytes: profiles need not be equal to themselves.
template<class Map>
std::map<QString, std::string> contentOf(const Map& map)
{
    std::map<QString, std::string> content;
    for (const auto& [key, item] : map.data())
        content[Map::Traits::ToText(key)] = Map::Format::toStandardString(item);
    addRequests(&content, &map);
    return content;
}

const QUuid newId(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);
const QUuid openId(0x00112233, 0x4455, 0x6777, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);

/// Collections with something in each.
struct Maps
{
    Maps()
    {
        profiles.Add(profileNamed(QStringLiteral("A")));
        profiles.RequestTypeChange(QString(), eShortTimeProfileBurst, openId);
        assignments.RequestAssignmentChange(assignmentOf(QStringLiteral("G")), openId);
        ShortTimeResult result;
        result.id = 7;
        results.Add(result);
        for (values::ValueBase* const map :
             std::initializer_list<values::ValueBase*>{&profiles, &assignments, &results})
            recorders.push_back(std::make_unique<Recorder>(*map));
    }
    QList<QByteArray> recorded() const
    {
        QList<QByteArray> all;
        for (const auto& recorder : recorders)
            all += recorder->commands;
        return all;
    }
    ShortTimeProfileItemMap profiles;
    ShortTimeFFPAssignmentItemMap assignments;
    ShortTimeResultItemMap results;
    std::vector<std::unique_ptr<Recorder>> recorders;
};
using Change = std::function<void(Maps&)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TestShortTimeMaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandBytes_data();
    void commandBytes();
    void requestAndReply();
    void observersInterfere();
    void keysAndTexts();
    void registration();
    void openRequestsFollowTheMap();
    void replicas_data();
    void replicas();
};

void TestShortTimeMaps::commandBytes_data()
{
    QTest::addColumn<QByteArray>("hex");
    QTest::addColumn<Change>("change");
    const auto row = [](const char* name, const char* hex, const Change& change) {
        QTest::newRow(name) << QByteArray::fromHex(hex) << change;
    };
    // Payload length, identifier, length of the path that is left out; then the payload.
    row("request type", "19000000 3400 00000000 3322110055447766 8899aabbccddeeff 02000000 4100 00d8 02",
        [](Maps& maps) {
            maps.profiles.RequestTypeChange(QStringLiteral("A\xD800"), eShortTimeProfileHopper, newId);
        });
    row("reply type", "16000000 3500 00000000 3322110055447767 8899aabbccddeeff 01000000 4500",
        [](Maps& maps) { maps.profiles.ReplyTypeChange(openId, QStringLiteral("E")); });
    row("request assignment",
        "30000000 3200 00000000 3322110055447766 8899aabbccddeeff"
        "1c000000 01 00000002 0047 0000 00000000 00 00 00000000 00000000 00000000 00",
        [](Maps& maps) {
            maps.assignments.RequestAssignmentChange(assignmentOf(QStringLiteral("G")), newId);
        });
    row("reply assignment", "14000000 3300 00000000 3322110055447767 8899aabbccddeeff 00000000",
        [](Maps& maps) { maps.assignments.ReplyAssignmentChange(openId, QString()); });
    row("set assignment",
        "28000000 1400 00000000 01000000 4700 3b"
        "1c000000 01 00000002 0047 0000 00000000 00 00 00000000 00000000 00000000 00 3b",
        [](Maps& maps) { maps.assignments.Add(assignmentOf(QStringLiteral("G"))); });
    row("erase profile", "07000000 1500 00000000 01000000 4100 3b",
        [](Maps& maps) { maps.profiles.EraseAt(QStringLiteral("A")); });
    row("erase result", "05000000 1500 00000000 07000000 3b", [](Maps& maps) { maps.results.EraseAt(7); });
    row("clear results", "00000000 1600 00000000", [](Maps& maps) { maps.results.Clear(); });
}

/// The very bytes of a recorded command; a mirror that executes them records the same; nothing shorter and
/// nothing longer is taken for a command.
void TestShortTimeMaps::commandBytes()
{
    QFETCH(QByteArray, hex);
    QFETCH(Change, change);
    const QByteArray& bytes = hex;
    Maps source, mirrors;
    change(source);
    QCOMPARE(source.recorded().size(), 1);
    QCOMPARE(source.recorded().first().toHex(), bytes.toHex());
    const QByteArray tag = QTest::currentDataTag();
    values::ValueBase& mirror = tag.contains("result") ? static_cast<values::ValueBase&>(mirrors.results)
                                : tag.contains("assignment")
                                    ? static_cast<values::ValueBase&>(mirrors.assignments)
                                    : mirrors.profiles;
    for (int size = 0; size < bytes.size() - 9; ++size) {
        const bool isLonger = size == bytes.size() - 10;
        QByteArray wrong = isLonger ? bytes + '\0' : bytes.left(10 + size);
        wrong[0] = static_cast<char>(isLonger ? size + 1 : size);
        values::ByteReader in(wrong.constData(), static_cast<std::size_t>(wrong.size()));
        QVERIFY(!values::ReadCommand(mirror, in, nullptr) && in.Position() == wrong.constData());
    }
    if (tag.startsWith("request")) { // under the null UUID every process would make up another
        const QByteArray unnamed = QByteArray(bytes).replace(10, 16, QByteArray(16, '\0'));
        values::ByteReader in(unnamed.constData(), static_cast<std::size_t>(unnamed.size()));
        QVERIFY(!values::ReadCommand(mirror, in, nullptr));
    }
    values::ByteReader in(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    const auto command = values::ReadCommand(mirror, in, nullptr);
    QVERIFY(command && in.AtEnd());
    command->Execute();
    QCOMPARE(mirrors.recorded(), QList<QByteArray>{bytes});
    QVERIFY(contentOf(source.profiles) == contentOf(mirrors.profiles));
    if (const auto* const reply = dynamic_cast<const Command_ReplyProfileTypeChange*>(command.get()))
        QVERIFY(!reply->WasSuccessful() && reply->GetError() == QLatin1String("E"));
    if (const auto* const request = dynamic_cast<const Command_RequestProfileTypeChange*>(command.get()))
        QVERIFY(request->GetProfileName() == QStringLiteral("A\xD800") && request->GetTargetType() == 2);
    if (const auto* const request = dynamic_cast<const Command_RequestFfpAssignmentChange*>(command.get()))
        QVERIFY(request->GetItem() == assignmentOf(QStringLiteral("G")));
}

void TestShortTimeMaps::requestAndReply()
{
    ShortTimeProfileItemMap map;
    map.Add(profileNamed(QStringLiteral("A")));
    Observer observer(map);
    const QUuid id = map.RequestTypeChange(QStringLiteral("A"), eShortTimeProfileIgnore);
    QVERIFY(!id.isNull() &&
            map.RequestTypeChange(QStringLiteral("B"), eShortTimeProfileBurst, newId) == newId);
    QCOMPARE(observer.calls, 2);
    QVERIFY(!map.FindReply(id));
    // The request can still be read while observers hear of the reply.
    QString seen;
    std::string state;
    std::size_t copied = 1;
    observer.action = [&] {
        const auto found = map.GetPendingRequests().find(id);
        if (found != map.GetPendingRequests().end() && map.FindReply(id))
            seen = found->second.profileName + *map.FindReply(id);
        // Who comes now hears nothing more of it.
        map.AddObjectStateStringForTransmission(state, values::eTransmitPlain);
        copied = ShortTimeProfileItemMap(map).GetPendingRequests().count(id);
        map.Assign(map);
    };
    QVERIFY(map.ReplyTypeChange(id, QStringLiteral("no")));
    QCOMPARE(seen, QStringLiteral("Ano"));
    std::string after;
    map.AddObjectStateStringForTransmission(after, values::eTransmitPlain);
    QVERIFY(state == after && copied == 0);
    observer.action = nullptr;
    QVERIFY(!map.FindReply(id) && map.GetPendingRequests().size() == 1);
    const unsigned int changes = map.GetChangeNumber();
    QVERIFY(!map.ReplyTypeChange(id, QString()) && !map.ReplyTypeChange(QUuid(), QString()));
    // The originator is not told of what it did itself.
    QVERIFY(map.ReplyTypeChange(newId, QString(), &observer));
    QCOMPARE(observer.calls, 3);
    QCOMPARE(map.GetChangeNumber(), changes + 1);
    QCOMPARE(int(map.At(QStringLiteral("A")).type), 0);
    QCOMPARE(logOf(map), QStringLiteral("#1:A 2:%1 2:%2 3:%1 3:%2").arg(id.toString(), newId.toString()));
}

void TestShortTimeMaps::observersInterfere()
{
    // A reply in answer to the reply's own notification has no effect.
    ShortTimeFFPAssignmentItemMap map;
    Observer observer(map);
    QUuid id = map.RequestAssignmentChange(assignmentOf(QStringLiteral("G")));
    bool inner = true;
    observer.action = [&] {
        inner = map.ReplyAssignmentChange(map.GetPendingRequests().begin()->first, QString());
    };
    QVERIFY(map.ReplyAssignmentChange(map.GetPendingRequests().begin()->first, QString()));
    QVERIFY(!inner && map.GetPendingRequests().empty());
    QCOMPARE(observer.calls, 2);
    QCOMPARE(logOf(map), QStringLiteral("5:%1 6:%1").arg(id.toString()));
    // A request that is opened again in the middle of its reply stays open, here as with whoever replays it.
    Recorder recorder(map);
    observer.action = nullptr;
    map.RequestAssignmentChange(assignmentOf(QStringLiteral("H")), newId);
    observer.action = [&] {
        observer.action = nullptr;
        map.RequestAssignmentChange(assignmentOf(QStringLiteral("I")), newId);
    };
    observer.calls = 0;
    QVERIFY(map.ReplyAssignmentChange(newId, QString()));
    QCOMPARE(observer.calls, 2);
    QCOMPARE(map.GetPendingRequests().at(newId).ffpGuid, QStringLiteral("I"));
    QVERIFY(!map.FindReply(newId) && recorder.commands.size() == 3);
    // The reply ends with the map.
    values::Tree tree;
    auto* const doomed = tree.Emplace<ShortTimeProfileItemMap>(QStringLiteral("/Profiles"));
    doomed->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst, newId);
    Observer deleter(*doomed);
    deleter.action = [&] {
        doomed->Detach(&deleter);
        tree.Remove(QStringLiteral("/Profiles"));
    };
    QVERIFY(doomed->ReplyTypeChange(newId, QString()));
    QCOMPARE(tree.Size(), 0);
    // An observer that assigns the map to itself and throws keeps no request open.
    observer.action = [&] {
        map.Assign(map);
        throw std::runtime_error("observer");
    };
    QVERIFY_EXCEPTION_THROWN(map.ReplyAssignmentChange(newId, QString()), std::runtime_error);
    QVERIFY(map.GetPendingRequests().empty() && !map.FindReply(newId));
}

void TestShortTimeMaps::keysAndTexts()
{
    ShortTimeProfileItemMap profiles;
    Observer observer(profiles);
    QCOMPARE(profiles.GetStringValue(), QStringLiteral("0 Profiles:["));
    QVERIFY_EXCEPTION_THROWN(profiles.Add(profileNamed(QString())), std::logic_error);
    profiles.EraseAt(QStringLiteral("A"));
    QCOMPARE(profiles.GetChangeNumber(), 0U);
    profiles.Add(profileNamed(QStringLiteral("%1")));
    QCOMPARE(profiles.GetStringValue(), QStringLiteral("1 Profiles:[%1"));
    // Stored again: no change; but what equals nothing always counts.
    profiles.Add(profileNamed(QStringLiteral("%1")));
    QCOMPARE(observer.calls, 1);
    ShortTimeProfile unequal;
    unequal.name = QStringLiteral("N");
    profiles.Add(unequal);
    profiles.Add(unequal);
    profiles.EraseAt(QStringLiteral("N"));
    QCOMPARE(observer.calls, 4);
    QCOMPARE(logOf(profiles), QStringLiteral("#1:%1 #1:N #1:N 4:N #2:N"));
    QCOMPARE(profiles.GetChangeNumber(), 5U);
    QCOMPARE(profiles.GetChangeLog().At(3).number, 3U);

    ShortTimeFFPAssignmentItemMap assignments;
    const QString key = assignments.Add(ShortTimeFFPAssignment());
    QVERIFY(key.size() == 38 && !QUuid(key).isNull() && key == QUuid(key).toString());
    QVERIFY(assignments.Contains(key));
    QCOMPARE(assignments.GetStringValue(), QStringLiteral("FFP_ - 0 more items..."));

    ShortTimeResultItemMap results;
    QCOMPARE(results.Add(ShortTimeResult()), 0U);
    QCOMPARE(results.AddNew(ShortTimeResult()), 1U);
    QVERIFY(results.At(0).id == ShortTimeResult::kNoId && results.At(1).id == 1);
}

void TestShortTimeMaps::registration()
{
    QVERIFY(registerShortTimeValues());
    QVERIFY(registerShortTimeValues());
    const std::map<int, const char*> names = {{107, "ShortTimeResultItemMap"},
                                              {108, "ShortTimeFFPAssignmentItemMap"},
                                              {109, "ShortTimeProfileItemMap"},
                                              {130, "ShapeCollectionItemMap"},
                                              {131, "ConvertProductionResultMap"}};
    for (const auto& [type, name] : names) {
        const auto value = values::CreateDefaultValue(type, QStringLiteral("v"));
        QVERIFY(value);
        QCOMPARE(value->GetType(), type);
        QCOMPARE(value->GetTypeName(), QLatin1String(name));
        // The state of an empty map: its header and the command that clears.
        std::string header;
        std::string state;
        values::AppendValueHeader(header, *value);
        value->AddObjectStateStringForTransmission(state, values::eTransmitPlain);
        QCOMPARE(QByteArray::fromStdString(state.substr(header.size())).toHex(),
                 QByteArray("00000000160000000000"));
        QVERIFY(value->Compare(values::CreateDefaultValue(type).get()));
    }
}

void TestShortTimeMaps::openRequestsFollowTheMap()
{
    values::Tree tree;
    const QString path = QStringLiteral("/Profiles");
    auto* const map = tree.Emplace<ShortTimeProfileItemMap>(path);
    Observer observer(*map);
    map->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst, newId);
    const ShortTimeProfileItemMap copy(*map);
    tree.Remove(path);
    QVERIFY(map->IsDeleted() && map->GetPendingRequests().empty());
    QVERIFY(map->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst).isNull());
    QVERIFY(map->GetPendingRequests().empty());
    tree.Add(path, std::make_unique<ShortTimeProfileItemMap>(copy));
    QCOMPARE(map->GetPendingRequests().at(newId).profileName, QStringLiteral("A"));
    QVERIFY(!map->Assign(ShortTimeFFPAssignmentItemMap()));
    QCOMPARE(map->GetPendingRequests().size(), std::size_t(1));
    // Who joins while observers are being told of the reply keeps no request that is answered.
    ShortTimeProfileItemMap late;
    values::Replica replica(*map), lateReplica(late);
    std::unique_ptr<values::LocalReplicaPair> pair;
    observer.action = [&] {
        pair = std::make_unique<values::LocalReplicaPair>(replica, lateReplica);
        pair->Deliver();
    };
    QVERIFY(map->ReplyTypeChange(newId, QString()));
    QVERIFY(pair->Deliver() && late.GetPendingRequests().empty());
}

namespace {

/// Makes random changes of one kind of map, out of few keys so that they meet.
class Writer
{
public:
    explicit Writer(QRandomGenerator& random) : m_random(random) {}

    void change(ShortTimeProfileItemMap& map)
    {
        ShortTimeProfile profile;
        profile.name = text();
        profile.useHopRate = profile.useSymbolRate = below(2) == 0;
        profile.frequencyMax = below(3);
        const quint32 what = below(8);
        if (what == 0)
            map.EraseAt(profile.name);
        else if (what == 1)
            below(10) == 0 ? map.Clear() : void();
        else if (what == 2)
            map.RequestTypeChange(profile.name, eShortTimeProfileHopper);
        else if (what == 3)
            reply(map, [&](const QUuid& id) { map.ReplyTypeChange(id, text()); });
        else if (what == 4)
            map.Set(std::list<ShortTimeProfile>{profile}, below(8) == 0, below(2) == 0);
        else
            map.Add(profile);
    }
    void change(ShortTimeFFPAssignmentItemMap& map)
    {
        ShortTimeFFPAssignment assignment = assignmentOf(below(5) ? text() : QString());
        for (quint32 i = below(3); i > 0; --i)
            assignment.profiles << text();
        const quint32 what = below(5);
        if (what == 0)
            map.EraseAt(assignment.ffpGuid);
        else if (what == 1)
            map.RequestAssignmentChange(assignment);
        else if (what == 2)
            reply(map, [&](const QUuid& id) { map.ReplyAssignmentChange(id, text()); });
        else
            map.Add(assignment);
    }
    void change(ShortTimeResultItemMap& map)
    {
        ShortTimeResult result;
        result.id = below(8);
        result.profileName = text();
        const quint32 what = below(4);
        if (what == 0)
            map.EraseAt(result.id);
        else
            what == 1 ? map.AddNew(result) : map.Add(result);
    }
    void change(ShapeCollectionItemMap& map)
    {
        ShapeCollectionItem shape;
        shape.name = text();
        shape.samples.fill(1.5F, static_cast<int>(below(3)));
        below(3) == 0 ? map.EraseAt(shape.name) : static_cast<void>(map.Add(shape));
    }
    quint32 below(quint32 bound) { return m_random.bounded(bound); }

private:
    QString text() { return QString(1 + static_cast<int>(below(2)), QChar(0xD800 + below(3))); }
    template<class Map, class Reply>
    void reply(Map& map, const Reply& answer)
    {
        if (!map.GetPendingRequests().empty())
            answer(QUuid(map.GetPendingRequests().begin()->first));
    }

    QRandomGenerator& m_random;
};

template<class Map>
QString replicate(quint32 seed, bool bothWrite)
{
    QRandomGenerator random(seed);
    Writer writer(random);
    Map first, second, late;
    values::Replica firstReplica(first), secondReplica(second), lateReplica(late);
    values::LocalReplicaPair pair(firstReplica, secondReplica);
    pair.Deliver();
    for (int step = 0; step < 400; ++step) {
        writer.change(bothWrite && writer.below(2) ? second : first);
        if (bothWrite && writer.below(100) == 0)
            first.Assign(Map()); // the state is sent again, with changes of the other end on their way
        if (writer.below(5) == 0)
            pair.Deliver();
    }
    if (!pair.Deliver())
        return QStringLiteral("the link broke");
    // The late joiner has been here before: it holds items and open requests that nobody else knows any more.
    Map elsewhere;
    for (int step = 0; step < 20; ++step)
        writer.change(elsewhere);
    late.Assign(elsewhere);
    values::LocalReplicaPair joins(secondReplica, lateReplica);
    if (!joins.Deliver() || contentOf(late) != contentOf(second))
        return QStringLiteral("the late joiner differs");
    if (contentOf(first) != contentOf(second))
        return QStringLiteral("the replicas differ");
    if (!bothWrite && first.GetChangeNumber() != second.GetChangeNumber())
        return QStringLiteral("change numbers differ");
    return QString();
}

} // namespace

void TestShortTimeMaps::replicas_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("bothWrite");
    const char* const kinds[] = {"profiles", "assignments", "results", "shapes"};
    for (int kind = 0; kind < 4; ++kind) {
        QTest::addRow("%s, one writer", kinds[kind]) << kind << false;
        QTest::addRow("%s, two writers", kinds[kind]) << kind << true;
    }
}

void TestShortTimeMaps::replicas()
{
    QFETCH(int, kind);
    QFETCH(bool, bothWrite);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    for (quint32 run = 0; run < 10; ++run) {
        const QString fault = kind == 0   ? replicate<ShortTimeProfileItemMap>(seed + run, bothWrite)
                              : kind == 1 ? replicate<ShortTimeFFPAssignmentItemMap>(seed + run, bothWrite)
                              : kind == 2 ? replicate<ShortTimeResultItemMap>(seed + run, bothWrite)
                                          : replicate<ShapeCollectionItemMap>(seed + run, bothWrite);
        QVERIFY2(fault.isEmpty(), qPrintable(fault + QStringLiteral(" with seed %1").arg(seed + run)));
    }
}

QTEST_GUILESS_MAIN(TestShortTimeMaps)
#include "tst_shorttimemaps.moc"
