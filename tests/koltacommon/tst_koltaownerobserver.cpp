#include <koltacommon/koltaownerobserver.h>

#include <QtTest>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::StringValue;

namespace {

const QString path = QStringLiteral("/S1/ADMINISTRATION/Owners");
const QString requestPath = QStringLiteral("/S1/ADMINISTRATION/OwnerRequest");

QUuid client(char letter)
{
    return QUuid(QStringLiteral("{00000000-0000-4000-8000-00000000000%1}").arg(QLatin1Char(letter)));
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
        QStringList log;
        connect(&observer, &KoltaOwnerObserver::si_OwnerChanged, this,
                [&log](const QString& owned, const QString& id) {
                    log += owned + QLatin1Char(':') + id.mid(36, 1);
                });
        connect(&observer, &KoltaOwnerObserver::si_OwnersChanged, this,
                [&log](const OwnerOverview& owners) { log += QString::number(owners.GetOwner().size()); });
        const std::pair<const char*, const char*> cases[] = {{"P1:a :b P2:a", "P1:a :b P2:a 3"},
                                                             {"P2:b :b P3:c", "P2:b P3:c P1: 3"},
                                                             {":bx P3:c P2:b", ":b 3"},
                                                             {"P3:c P3:d P2:b", ": 3"},
                                                             {"P3:d P2:b", "P3:d 2"}};
        for (const auto& [owners, changes] : cases) {
            publish(owners);
            QCOMPARE(std::exchange(log, {}).join(QLatin1Char(' ')), QLatin1String(changes));
        }
        publish("P1:a P1:b :b P2:b");
        QCOMPARE(observer.GetGUIDsOwnedBy(client('b')), (QStringList{QString(), QStringLiteral("P2")}));
        QVERIFY(observer.IsOwnedBy(QStringLiteral("P1"), client('a')));
        QVERIFY(!observer.IsOwnedBy(QStringLiteral("P1"), client('b')));
        QVERIFY(!observer.IsOwnedBy(QStringLiteral("P9"), QUuid()));
        log.clear();
        values::Tree::Instance().Remove(path);
        QCOMPARE(log.join(QLatin1Char(' ')), QStringLiteral("P1: : P2: 0"));
        QVERIFY(!observer.FindOwner(QString()));
    }

    void requests()
    {
        publish("P1:a");
        KoltaOwnerObserver observer(path);
        auto* const value = values::Tree::Instance().Emplace<StringValue>(requestPath);
        QVERIFY(!observer.requestOwnership(QStringLiteral("P1"))); // by nobody
        observer.setClient(client('b'), QStringLiteral("Desk"), QStringLiteral("host"));
        QVERIFY(observer.requestOwnership(QStringLiteral("P1")));
        const QString text =
            QStringLiteral("<OwnerRequest><Action>%1</"
                           "Action><Owner>%2<ClientID>{00000000-0000-4000-8000-00000000000b}</ClientID>"
                           "<Name>Desk</Name><Host>host</Host></Owner></OwnerRequest>");
        QCOMPARE(value->GetValue(), text.arg(1).arg(QStringLiteral("<OwnedGUID>P1</OwnedGUID>")));
        QVERIFY(observer.releaseOwnership(QString()));
        QCOMPARE(value->GetValue(), text.arg(0).arg(QString()));
        observer.setClient(client('b'), QString(QChar(1)));
        QVERIFY(!observer.requestOwnership(QString()));
        QCOMPARE(value->GetValue(), text.arg(0).arg(QString()));
        values::Tree::Instance().Remove(requestPath);
        QVERIFY(!observer.releaseOwnership(QStringLiteral("P1")));
    }
};

QTEST_GUILESS_MAIN(TestKoltaOwnerObserver)
#include "tst_koltaownerobserver.moc"
