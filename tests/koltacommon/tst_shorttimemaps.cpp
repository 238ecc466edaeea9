#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <koltacommon/shorttimevalues.h>

#include <values/defaultvaluecreator.h>
#include <values/localreplicapair.h>

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

/// Items and open requests as bytes: profiles need not be equal to themselves.
std::map<QString, std::string> contentOf(const ShortTimeProfileItemMap& map)
{
    std::map<QString, std::string> content;
    for (const auto& [key, item] : map.data())
        content[key] = ShortTimeProfile_ItemFormat::toStandardString(item);
    for (const auto& [id, request] : map.GetPendingRequests())
        content[id.toString()] = request.profileName.toStdString() + std::to_string(int(request.targetType));
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
    row("erase result", "05000000 1500 00000000 07000000 3b", [](Maps& maps) { maps.results.EraseAt(7); });
}

/// The very bytes of a recorded command; a mirror that executes them records the same.
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
    QVERIFY(results.At(0).id == ShortTimeResult::noId && results.At(1).id == 1);
}

void TestShortTimeMaps::registration()
{
    QVERIFY(registerShortTimeValues() && registerShortTimeValues());
    for (const int type : {107, 108, 109, 130, 131}) {
        const auto value = values::CreateDefaultValue(type, QStringLiteral("v"));
        QVERIFY(value && value->GetType() == type);
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

QTEST_GUILESS_MAIN(TestShortTimeMaps)
#include "tst_shorttimemaps.moc"
