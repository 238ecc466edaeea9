#include <koltacommon/koltaownerobserver.h>
#include <support/signalrecorder.h>
#include <support/test.h>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString path = "/S1/ADMINISTRATION/Owners"_s;
const QString requestPath = "/S1/ADMINISTRATION/OwnerRequest"_s;

QUuid client(char letter)
{
    return QUuid("{00000000-0000-4000-8000-00000000000%1}"_s.arg(QLatin1Char(letter)));
}

/// "P1:a :bx" is processor P1, owned by client a, and the server, owned by client b whose name is "x".
void publish(const char* owners)
{
    OwnerOverview overview;
    for (const QString& text : QString::fromLatin1(owners).split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const int colon = text.indexOf(QLatin1Char(':'));
        Owner owner;
        if (colon > 0)
            owner.SetOwnedGUID(text.left(colon));
        owner.SetClientID(client(text.at(colon + 1).toLatin1()).toString());
        owner.SetName(text.mid(colon + 2));
        overview.EditOwner().append(owner);
    }
    values::Tree& tree = values::Tree::Instance();
    if (!tree.Emplace<StringValue>(path, overview.GetXmlString()))
        tree.FindAs<StringValue>(path)->SetValue(overview.GetXmlString());
}

} // namespace

class TestKoltaOwnerObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { values::Tree::Instance().Clear(); }

    void changesAndQueries()
    {
        publish("");
        KoltaOwnerObserver observer(path);
        SignalRecorder recorder;
        recorder.write<OwnerOverview>(
            [](const OwnerOverview& owners) { return QString::number(owners.GetOwner().size()); });
        recorder.write<QString>(
            [](const QString& guid) { return guid.size() == 38 ? guid.mid(36, 1) : guid; });
        recorder.hear(observer, {{"si_OwnerChanged", "%1:%2"_s}, {"si_OwnersChanged", "%1"_s}});
        const std::pair<const char*, const char*> cases[] = {{"P1:a :b P2:a", "P1:a :b P2:a 3"},
                                                             {"P2:b :b P3:c", "P2:b P3:c P1: 3"},
                                                             {":bx P3:c P2:b", ":b 3"},
                                                             {"P3:c P3:d P2:b", ": 3"},
                                                             {"P3:d P2:b", "P3:d 2"}};
        for (const auto& [owners, changes] : cases) {
            publish(owners);
            QCOMPARE(recorder.taken(), QLatin1String(changes));
        }
        publish("P1:a P1:b :b P2:b");
        QCOMPARE(observer.GetGUIDsOwnedBy(client('b')), (QStringList{QString(), "P2"_s}));
        QVERIFY(observer.IsOwnedBy("P1"_s, client('a')));
        QVERIFY(!observer.IsOwnedBy("P1"_s, client('b')));
        QVERIFY(!observer.IsOwnedBy("P9"_s, QUuid()));
        recorder.taken();
        values::Tree::Instance().Remove(path);
        QCOMPARE(recorder.log(), "P1: : P2: 0"_s);
        QVERIFY(!observer.FindOwner(QString()));
    }

    void requests()
    {
        publish("P1:a");
        KoltaOwnerObserver observer(path);
        auto* const value = values::Tree::Instance().Emplace<StringValue>(requestPath);
        QVERIFY(!observer.requestOwnership("P1"_s)); // by nobody
        observer.setClient(client('b'), "Desk"_s, "host"_s);
        QVERIFY(observer.requestOwnership("P1"_s));
        const QString text = "<OwnerRequest><Action>%1</"
                             "Action><Owner>%2<ClientID>{00000000-0000-4000-8000-00000000000b}</ClientID>"
                             "<Name>Desk</Name><Host>host</Host></Owner></OwnerRequest>"_s;
        QCOMPARE(value->GetValue(), text.arg(1).arg("<OwnedGUID>P1</OwnedGUID>"_s));
        QVERIFY(observer.releaseOwnership(QString()));
        QCOMPARE(value->GetValue(), text.arg(0).arg(QString()));
        observer.setClient(client('b'), QString(QChar(1)));
        QVERIFY(!observer.requestOwnership(QString()));
        QCOMPARE(value->GetValue(), text.arg(0).arg(QString()));
        values::Tree::Instance().Remove(requestPath);
        QVERIFY(!observer.releaseOwnership("P1"_s));
    }
};

KOLTA_TEST(TestKoltaOwnerObserver);
#include "tst_koltaownerobserver.moc"
