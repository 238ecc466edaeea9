#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <koltacommon/shorttimevalues.h>
#include <support/commandrecorder.h>
#include <support/test.h>

#include <values/defaultvaluecreator.h>
#include <values/tree.h>

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
        entries << (entry.kind < 10 ? "#%1:"_s.arg(int(entry.kind)) : "%1:"_s.arg(QLatin1Char(entry.kind))) +
                       entry.key;
    }
    return entries.join(QLatin1Char(' '));
}

const QUuid newId(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);
} // namespace

class TestShortTimeMaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestAndReply()
    {
        ShortTimeProfileItemMap map;
        map.Add(profileNamed("A"_s));
        Observer observer(map);
        const QUuid id = map.RequestTypeChange("A"_s, eShortTimeProfileIgnore);
        QVERIFY(!id.isNull() && map.RequestTypeChange("B"_s, eShortTimeProfileBurst, newId) == newId);
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
        QVERIFY(map.ReplyTypeChange(id, "no"_s));
        QCOMPARE(seen, "Ano"_s);
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
        QCOMPARE(int(map.At("A"_s).type), 0);
        QCOMPARE(logOf(map), "#1:A 2:%1 2:%2 3:%1 3:%2"_s.arg(id.toString(), newId.toString()));
    }

    void observersInterfere()
    {
        // A reply in answer to the reply's own notification has no effect.
        ShortTimeFFPAssignmentItemMap map;
        Observer observer(map);
        QUuid id = map.RequestAssignmentChange(assignmentOf("G"_s));
        bool inner = true;
        observer.action = [&] {
            inner = map.ReplyAssignmentChange(map.GetPendingRequests().begin()->first, QString());
        };
        QVERIFY(map.ReplyAssignmentChange(map.GetPendingRequests().begin()->first, QString()));
        QVERIFY(!inner && map.GetPendingRequests().empty());
        QCOMPARE(observer.calls, 2);
        QCOMPARE(logOf(map), "5:%1 6:%1"_s.arg(id.toString()));
        // A request that is opened again in the middle of its reply stays open, here as with whoever replays
        // it.
        CommandRecorder recorder(map);
        observer.action = nullptr;
        map.RequestAssignmentChange(assignmentOf("H"_s), newId);
        observer.action = [&] {
            observer.action = nullptr;
            map.RequestAssignmentChange(assignmentOf("I"_s), newId);
        };
        observer.calls = 0;
        QVERIFY(map.ReplyAssignmentChange(newId, QString()));
        QCOMPARE(observer.calls, 2);
        QCOMPARE(map.GetPendingRequests().at(newId).ffpGuid, "I"_s);
        QVERIFY(!map.FindReply(newId) && recorder.commands.size() == 3);
        // The reply ends with the map.
        values::Tree tree;
        auto* const doomed = tree.Emplace<ShortTimeProfileItemMap>("/Profiles"_s);
        doomed->RequestTypeChange("A"_s, eShortTimeProfileBurst, newId);
        Observer deleter(*doomed);
        deleter.action = [&] {
            doomed->Detach(&deleter);
            tree.Remove("/Profiles"_s);
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

    void keysAndTexts()
    {
        ShortTimeProfileItemMap profiles;
        Observer observer(profiles);
        QCOMPARE(profiles.GetStringValue(), "0 Profiles:["_s);
        QVERIFY_EXCEPTION_THROWN(profiles.Add(profileNamed(QString())), std::logic_error);
        profiles.EraseAt("A"_s);
        QCOMPARE(profiles.GetChangeNumber(), 0U);
        profiles.Add(profileNamed("%1"_s));
        QCOMPARE(profiles.GetStringValue(), "1 Profiles:[%1"_s);
        // Stored again: no change; but what equals nothing always counts.
        profiles.Add(profileNamed("%1"_s));
        QCOMPARE(observer.calls, 1);
        ShortTimeProfile unequal;
        unequal.name = "N"_s;
        profiles.Add(unequal);
        profiles.Add(unequal);
        profiles.EraseAt("N"_s);
        QCOMPARE(observer.calls, 4);
        QCOMPARE(logOf(profiles), "#1:%1 #1:N #1:N 4:N #2:N"_s);
        QCOMPARE(profiles.GetChangeNumber(), 5U);
        QCOMPARE(profiles.GetChangeLog().At(3).number, 3U);

        ShortTimeFFPAssignmentItemMap assignments;
        const QString key = assignments.Add(ShortTimeFFPAssignment());
        QVERIFY(key.size() == 38 && !QUuid(key).isNull() && key == QUuid(key).toString());
        QVERIFY(assignments.Contains(key));
        QCOMPARE(assignments.GetStringValue(), "FFP_ - 0 more items..."_s);

        ShortTimeResultItemMap results;
        QCOMPARE(results.Add(ShortTimeResult()), 0U);
        QCOMPARE(results.AddNew(ShortTimeResult()), 1U);
        QVERIFY(results.At(0).id == ShortTimeResult::kNoId && results.At(1).id == 1);
    }

    void registration()
    {
        QVERIFY(registerShortTimeValues());
        QVERIFY(registerShortTimeValues());
        for (const int type : {107, 108, 109, 130, 131}) {
            const auto value = values::CreateDefaultValue(type, "v"_s);
            QVERIFY(value && value->GetType() == type && !value->GetTypeName().isEmpty());
            QVERIFY(value->Compare(values::CreateDefaultValue(type).get()));
        }
    }

    void openRequestsFollowTheMap()
    {
        values::Tree tree;
        const QString path = "/Profiles"_s;
        auto* const map = tree.Emplace<ShortTimeProfileItemMap>(path);
        Observer observer(*map);
        map->RequestTypeChange("A"_s, eShortTimeProfileBurst, newId);
        const ShortTimeProfileItemMap copy(*map);
        tree.Remove(path);
        QVERIFY(map->IsDeleted() && map->GetPendingRequests().empty());
        QVERIFY(map->RequestTypeChange("A"_s, eShortTimeProfileBurst).isNull());
        QVERIFY(map->GetPendingRequests().empty());
        tree.Add(path, std::make_unique<ShortTimeProfileItemMap>(copy));
        QCOMPARE(map->GetPendingRequests().at(newId).profileName, "A"_s);
        QVERIFY(!map->Assign(ShortTimeFFPAssignmentItemMap()));
        QCOMPARE(map->GetPendingRequests().size(), std::size_t(1));
    }
};

KOLTA_TEST(TestShortTimeMaps);
#include "tst_shorttimemaps.moc"
