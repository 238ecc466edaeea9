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
        wrongCodes += code != eChangeValue;
        const auto run = action;
        if (run)
            run();
    }
    int calls = 0;
    int wrongCodes = 0;
    std::function<void()> action;
};

/// "kind:key" of every entry, the kind as a character or number.
template<class Map>
QString logOf(const Map& map)
{
    QStringList entries;
    for (std::size_t i = 0; i < map.GetChangeLog().Size(); ++i) {
        const auto& entry = map.GetChangeLog().At(i);
        const QString kind = entry.kind < 10 ? QString::number(entry.kind) : QString(QLatin1Char(entry.kind));
        entries << kind + QLatin1Char(':') + entry.key;
    }
    return entries.join(QLatin1Char(' '));
}

/// Items and open requests as bytes: profiles need not be equal to themselves.
template<class Map, class Protocol>
std::map<QString, std::string> contentOf(const Map& map, Protocol)
{
    std::map<QString, std::string> content;
    for (const auto& [key, item] : map.data())
        content[Map::Traits::ToText(key)] = Map::Format::toStandardString(item);
    if constexpr (!std::is_void_v<std::remove_pointer_t<Protocol>>) {
        for (const auto& [id, request] : map.GetPendingRequests())
            std::remove_pointer_t<Protocol>::AppendRequest(content[QLatin1Char('?') + id.toString()],
                                                           request);
    }
    return content;
}
const auto profileProtocol = static_cast<ShortTimeProfileProtocol*>(nullptr);
const auto assignmentProtocol = static_cast<ShortTimeFFPAssignmentProtocol*>(nullptr);
const auto noProtocol = static_cast<void*>(nullptr);

const QUuid someId(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);

} // namespace

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
    void requestsOfACutOffReplica();
    void replicas_data();
    void replicas();
};

void TestShortTimeMaps::commandBytes_data()
{
    QTest::addColumn<QByteArray>("hex");
    // Payload length, identifier, length of the path that is left out; then the payload.
    QTest::newRow("request type") << QByteArray("19000000 3400 00000000 3322110055447766 8899aabbccddeeff"
                                                "02000000 4100 00d8 02");
    QTest::newRow("reply type") << QByteArray("16000000 3500 00000000 3322110055447766 8899aabbccddeeff"
                                              "01000000 4500");
    QTest::newRow("request assignment")
        << QByteArray("30000000 3200 00000000 3322110055447766 8899aabbccddeeff"
                      "1c000000 01 00000002 0047 0000 00000000 00 00 00000000 00000000 00000000 00");
    QTest::newRow("reply assignment") << QByteArray("14000000 3300 00000000 3322110055447766 8899aabbccddeeff"
                                                    "00000000");
    QTest::newRow("set assignment") << QByteArray(
        "28000000 1400 00000000 01000000 4700 3b"
        "1c000000 01 00000002 0047 0000 00000000 00 00 00000000 00000000 00000000 00 3b");
    QTest::newRow("erase profile") << QByteArray("07000000 1500 00000000 01000000 4100 3b");
    QTest::newRow("clear results") << QByteArray("00000000 1600 00000000");
    QTest::newRow("erase result") << QByteArray("05000000 1500 00000000 07000000 3b");
}

/// The very bytes of a recorded command; a mirror that executes them records the same; nothing shorter and
/// nothing longer is taken for a command.
void TestShortTimeMaps::commandBytes()
{
    QFETCH(QByteArray, hex);
    const QByteArray bytes = QByteArray::fromHex(hex);
    const QByteArray tag = QTest::currentDataTag();
    ShortTimeProfileItemMap profiles, profileMirror;
    ShortTimeFFPAssignmentItemMap assignments, assignmentMirror;
    ShortTimeResultItemMap results, resultMirror;
    const auto prepare = [&tag](auto& a, auto& b, auto& c) {
        if (tag.startsWith("reply")) {
            a.RequestTypeChange(QString(), eShortTimeProfileBurst, someId);
            b.RequestAssignmentChange(assignmentOf(QStringLiteral("G")), someId);
        }
        a.Add(profileNamed(QStringLiteral("A")));
        ShortTimeResult result;
        result.id = 7;
        c.Add(result);
    };
    prepare(profiles, assignments, results);
    prepare(profileMirror, assignmentMirror, resultMirror);
    const bool isProfile = tag.endsWith("type") || tag.endsWith("profile");
    values::ValueBase& mirror = isProfile ? static_cast<values::ValueBase&>(profileMirror)
                                : tag.endsWith("assignment")
                                    ? static_cast<values::ValueBase&>(assignmentMirror)
                                    : resultMirror;
    Recorder profileCommands(profiles), assignmentCommands(assignments), resultCommands(results);
    if (tag == "request type")
        profiles.RequestTypeChange(QStringLiteral("A\xD800"), eShortTimeProfileHopper, someId);
    else if (tag == "reply type")
        QVERIFY(profiles.ReplyTypeChange(someId, QStringLiteral("E")));
    else if (tag == "request assignment")
        assignments.RequestAssignmentChange(assignmentOf(QStringLiteral("G")), someId);
    else if (tag == "reply assignment")
        QVERIFY(assignments.ReplyAssignmentChange(someId, QString()));
    else if (tag == "set assignment")
        assignments.Add(assignmentOf(QStringLiteral("G")));
    else if (tag == "erase profile")
        profiles.EraseAt(QStringLiteral("A"));
    else if (tag == "clear results")
        results.Clear();
    else
        results.EraseAt(7);
    const QList<QByteArray> recorded =
        profileCommands.commands + assignmentCommands.commands + resultCommands.commands;
    QCOMPARE(recorded.size(), 1);
    QCOMPARE(recorded.first().toHex(), bytes.toHex());

    for (int size = 0; size < bytes.size() - 10; ++size) {
        QByteArray cut = bytes.left(10 + size);
        cut[0] = static_cast<char>(size);
        values::ByteReader in(cut.constData(), static_cast<std::size_t>(cut.size()));
        QVERIFY(!values::ReadCommand(mirror, in, nullptr) && in.Position() == cut.constData());
    }
    QByteArray longer = bytes + '\0';
    longer[0] = static_cast<char>(longer.at(0) + 1);
    values::ByteReader tooMuch(longer.constData(), static_cast<std::size_t>(longer.size()));
    QVERIFY(!values::ReadCommand(mirror, tooMuch, nullptr));

    values::ByteReader in(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    Recorder mirrored(mirror);
    const auto command = values::ReadCommand(mirror, in, nullptr);
    QVERIFY(command && in.AtEnd());
    command->Execute();
    QCOMPARE(mirrored.commands, QList<QByteArray>{bytes});
    QVERIFY(contentOf(profiles, profileProtocol) == contentOf(profileMirror, profileProtocol) || !isProfile);
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
            map.RequestTypeChange(QStringLiteral("B"), eShortTimeProfileBurst, someId) == someId);
    QCOMPARE(observer.calls, 2);
    QVERIFY(!map.FindReply(id));
    // The request can still be read while observers hear of the reply.
    QString seen;
    observer.action = [&] {
        const auto found = map.GetPendingRequests().find(id);
        if (found != map.GetPendingRequests().end() && map.FindReply(id))
            seen = found->second.profileName + *map.FindReply(id);
    };
    QVERIFY(map.ReplyTypeChange(id, QStringLiteral("no")));
    QCOMPARE(seen, QStringLiteral("Ano"));
    QVERIFY(!map.FindReply(id) && map.GetPendingRequests().size() == 1);
    const unsigned int changes = map.GetChangeNumber();
    QVERIFY(!map.ReplyTypeChange(id, QString()) && !map.ReplyTypeChange(QUuid(), QString()));
    // The originator is not told of what it did itself.
    QVERIFY(map.ReplyTypeChange(someId, QString(), &observer));
    QCOMPARE(observer.calls, 3);
    QCOMPARE(observer.wrongCodes, 0);
    QCOMPARE(map.GetChangeNumber(), changes + 1);
    QCOMPARE(int(map.At(QStringLiteral("A")).type), 0);
    QCOMPARE(logOf(map), QStringLiteral("1:A 2:%1 2:%2 3:%1 3:%2").arg(id.toString(), someId.toString()));
    QCOMPARE(map.GetChangeLog().At(1).kind, '2');
    QCOMPARE(map.GetChangeLog().At(3).kind, '3');
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
    map.RequestAssignmentChange(assignmentOf(QStringLiteral("H")), someId);
    observer.action = [&] {
        observer.action = nullptr;
        map.RequestAssignmentChange(assignmentOf(QStringLiteral("I")), someId);
    };
    observer.calls = 0;
    QVERIFY(map.ReplyAssignmentChange(someId, QString()));
    QCOMPARE(observer.calls, 2);
    QCOMPARE(map.GetPendingRequests().at(someId).ffpGuid, QStringLiteral("I"));
    QVERIFY(!map.FindReply(someId) && recorder.commands.size() == 3);
    // The reply ends with the map.
    values::Tree tree;
    auto* const doomed = tree.Emplace<ShortTimeProfileItemMap>(QStringLiteral("/Profiles"));
    doomed->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst, someId);
    Observer deleter(*doomed);
    deleter.action = [&] {
        doomed->Detach(&deleter);
        tree.Remove(QStringLiteral("/Profiles"));
    };
    QVERIFY(doomed->ReplyTypeChange(someId, QString()));
    QCOMPARE(tree.Size(), 0);
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
    QCOMPARE(logOf(profiles), QStringLiteral("1:%1 1:N 1:N 4:N 2:N"));
    QCOMPARE(profiles.GetChangeNumber(), 5U);
    QVERIFY(profiles.GetChangeLog().At(3).kind == '4' && profiles.GetChangeLog().At(3).number == 3);
    QVERIFY(!profiles.Contains(QStringLiteral("N")));

    ShortTimeFFPAssignmentItemMap assignments;
    const QString key = assignments.Add(ShortTimeFFPAssignment());
    QVERIFY(key.size() == 38 && !QUuid(key).isNull() && key == QUuid(key).toString());
    QVERIFY(assignments.Contains(key));
    QCOMPARE(assignments.GetStringValue(), QStringLiteral("FFP_ - 0 more items..."));

    ShortTimeResultItemMap results;
    for (unsigned int id : {0U, 1U, 3U})
        results.InsertAt(id, ShortTimeResult());
    QCOMPARE(results.AddNew(ShortTimeResult()), 4U); // counting begins at the number of results
    QCOMPARE(results.At(4).id, 4U);
    results.EraseAt(3);
    QCOMPARE(results.Add(ShortTimeResult()), 3U);
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
    map->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst, someId);
    const ShortTimeProfileItemMap copy(*map);
    tree.Remove(path);
    QVERIFY(map->IsDeleted() && map->GetPendingRequests().empty());
    QVERIFY(map->RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst).isNull());
    QVERIFY(map->GetPendingRequests().empty());
    tree.Add(path, std::make_unique<ShortTimeProfileItemMap>(copy));
    QCOMPARE(map->GetPendingRequests().at(someId).profileName, QStringLiteral("A"));
    QVERIFY(!map->Assign(ShortTimeFFPAssignmentItemMap()));
    QCOMPARE(map->GetPendingRequests().size(), std::size_t(1));
}

/// Requests that were answered, or never arrived, while the link was down end with an error.
void TestShortTimeMaps::requestsOfACutOffReplica()
{
    ShortTimeProfileItemMap owner, mirror;
    values::Replica ownerReplica(owner), mirrorReplica(mirror);
    const QUuid answered = owner.RequestTypeChange(QStringLiteral("A"), eShortTimeProfileBurst);
    const QUuid open = owner.RequestTypeChange(QStringLiteral("B"), eShortTimeProfileHopper);
    QVERIFY(values::LocalReplicaPair(ownerReplica, mirrorReplica).Deliver());
    owner.ReplyTypeChange(answered, QString());
    const QUuid lost = mirror.RequestTypeChange(QStringLiteral("C"), eShortTimeProfileIgnore);
    QCOMPARE(mirror.GetPendingRequests().size(), std::size_t(3));
    Observer observer(mirror);
    int errors = 0;
    observer.action = [&] {
        for (const QUuid& id : {answered, open, lost})
            errors += mirror.FindReply(id) && !mirror.FindReply(id)->isEmpty() && id != open;
    };
    values::LocalReplicaPair again(ownerReplica, mirrorReplica);
    QVERIFY(again.Deliver());
    QCOMPARE(errors, 2);
    QVERIFY(mirror.GetPendingRequests().size() == 1 && mirror.GetPendingRequests().count(open) == 1);
    // A state that comes while an own request is on its way leaves that open.
    const QUuid underway = mirror.RequestTypeChange(QStringLiteral("D"), eShortTimeProfileIgnore);
    owner.Assign(ShortTimeProfileItemMap());
    QVERIFY(again.Deliver());
    QVERIFY(owner.GetPendingRequests().size() == 1 && owner.GetPendingRequests().count(underway) == 1);
    QVERIFY(contentOf(owner, profileProtocol) == contentOf(mirror, profileProtocol));
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
        switch (below(8)) {
        case 0:
            return map.EraseAt(profile.name);
        case 1:
            return below(10) == 0 ? map.Clear() : void();
        case 2:
            map.RequestTypeChange(profile.name, eShortTimeProfileHopper);
            return;
        case 3:
            reply(map, [&](const QUuid& id) { map.ReplyTypeChange(id, text()); });
            return;
        case 4:
            return map.Set(std::list<ShortTimeProfile>{profile}, below(8) == 0, below(2) == 0);
        default:
            map.Add(profile);
        }
    }
    void change(ShortTimeFFPAssignmentItemMap& map)
    {
        ShortTimeFFPAssignment assignment = assignmentOf(below(5) ? text() : QString());
        for (quint32 i = below(3); i > 0; --i)
            assignment.profiles << text();
        switch (below(5)) {
        case 0:
            return map.EraseAt(assignment.ffpGuid);
        case 1:
            map.RequestAssignmentChange(assignment);
            return;
        case 2:
            reply(map, [&](const QUuid& id) { map.ReplyAssignmentChange(id, text()); });
            return;
        default:
            map.Add(assignment);
        }
    }
    void change(ShortTimeResultItemMap& map)
    {
        ShortTimeResult result;
        result.id = below(8);
        result.profileName = text();
        switch (below(4)) {
        case 0:
            return map.EraseAt(result.id);
        case 1:
            map.AddNew(result);
            return;
        default:
            map.Add(result);
        }
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

template<class Map, class Protocol>
QString replicate(quint32 seed, bool bothWrite, Protocol protocol)
{
    QRandomGenerator random(seed);
    Writer writer(random);
    Map first, second, late;
    values::Replica firstReplica(first), secondReplica(second), lateReplica(late);
    values::LocalReplicaPair pair(firstReplica, secondReplica);
    pair.Deliver();
    for (int step = 0; step < 400; ++step) {
        writer.change(bothWrite && writer.below(2) ? second : first);
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
    if (!joins.Deliver() || contentOf(late, protocol) != contentOf(second, protocol))
        return QStringLiteral("the late joiner differs");
    if (contentOf(first, protocol) != contentOf(second, protocol))
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
        const QString fault =
            kind == 0   ? replicate<ShortTimeProfileItemMap>(seed + run, bothWrite, profileProtocol)
            : kind == 1 ? replicate<ShortTimeFFPAssignmentItemMap>(seed + run, bothWrite, assignmentProtocol)
            : kind == 2 ? replicate<ShortTimeResultItemMap>(seed + run, bothWrite, noProtocol)
                        : replicate<ShapeCollectionItemMap>(seed + run, bothWrite, noProtocol);
        QVERIFY2(fault.isEmpty(), qPrintable(fault + QStringLiteral(" with seed %1").arg(seed + run)));
    }
}

QTEST_GUILESS_MAIN(TestShortTimeMaps)
#include "tst_shorttimemaps.moc"
