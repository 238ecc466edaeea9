#include <koltacommon/koltatunertypeobserver.h>
#include <support/test.h>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;

class TestKoltaTunerTypeObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mirrorsTypes()
    {
        TunerTypeOverview types;
        types.EditTunerTypeSettings().resize(4);
        const char* const names[][2] = {{"EB", "<a/>"}, {"KW", ""}, {"EB", "<b/>"}, {"eb", "<c/>"}};
        for (int i = 0; i < 4; ++i) {
            types.EditTunerTypeSettings()[i].SetTypeName(QLatin1String(names[i][0]));
            types.EditTunerTypeSettings()[i].SetParamGuiXmlFormular(QLatin1String(names[i][1]));
        }
        const QString path = "/S1/ADMINISTRATION/TunerTypeOverview"_s;
        auto* const value = values::Tree::Instance().Emplace<values::StringValue>(path, QString());
        KoltaTunerTypeObserver observer(path);
        QSignalSpy spy(&observer, &KoltaTunerTypeObserver::si_TunerTypesChanged);
        value->SetValue(types.GetXmlString());
        QVERIFY(spy.at(0).at(0).value<TunerTypeOverview>() == types);
        QCOMPARE(observer.GetAllTunerTypes().join(QLatin1Char(' ')), "EB KW EB eb"_s);
        // The first of exactly that name.
        QCOMPARE(observer.GetFormularDataByTunerType("EB"_s), "<a/>"_s);
        QCOMPARE(observer.GetFormularDataByTunerType("eb"_s), "<c/>"_s);
        QCOMPARE(observer.GetFormularDataByTunerType("E"_s), QString());
    }
};

KOLTA_TEST(TestKoltaTunerTypeObserver);
#include "tst_koltatunertypeobserver.moc"
