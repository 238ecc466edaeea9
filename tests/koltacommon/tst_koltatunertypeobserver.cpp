#include <koltacommon/koltatunertypeobserver.h>

#include <QtTest>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;

class TestKoltaTunerTypeObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mirrorsTypes();
};

void TestKoltaTunerTypeObserver::mirrorsTypes()
{
    TunerTypeOverview types;
    for (const char* text : {"EB:<a/>", "KW:", "EB:<b/>", "eb:<c/>"}) {
        const QStringList parts = QString::fromLatin1(text).split(QLatin1Char(':'));
        TunerTypeSettings settings;
        settings.SetTypeName(parts.at(0));
        if (!parts.at(1).isEmpty())
            settings.SetParamGuiXmlFormular(parts.at(1));
        types.EditTunerTypeSettings().append(settings);
    }
    const QString path = QStringLiteral("/S1/ADMINISTRATION/TunerTypeOverview");
    auto* const value = values::Tree::Instance().Emplace<values::StringValue>(path, QString());
    KoltaTunerTypeObserver observer(path);
    QSignalSpy spy(&observer, &KoltaTunerTypeObserver::si_TunerTypesChanged);
    value->SetValue(types.GetXmlString());
    QCOMPARE(spy.size(), 1);
    QVERIFY(spy.at(0).at(0).value<TunerTypeOverview>() == types);
    QCOMPARE(observer.GetAllTunerTypes().join(QLatin1Char(' ')), QStringLiteral("EB KW EB eb"));
    // The first of exactly that name.
    QCOMPARE(observer.GetFormularDataByTunerType(QStringLiteral("EB")), QStringLiteral("<a/>"));
    QCOMPARE(observer.GetFormularDataByTunerType(QStringLiteral("eb")), QStringLiteral("<c/>"));
    for (const char* none : {"KW", "E", ""})
        QCOMPARE(observer.GetFormularDataByTunerType(QLatin1String(none)), QString());
    values::Tree::Instance().Remove(path);
    QCOMPARE(observer.GetCurrentTunerTypes().GetTunerTypeSettings().size(), 4);
    values::Tree::Instance().Clear();
}

QTEST_GUILESS_MAIN(TestKoltaTunerTypeObserver)
#include "tst_koltatunertypeobserver.moc"
