#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclasstree.h>
#include <support/test.h>

#include <resourcemodel/resources.h>

using namespace Kolta;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;
using values::StringValue;

namespace {

const QString path = "/S1/ADMINISTRATION/TunerClasses"_s;

/// Two classes of one name, of which the first needs hardware and has a tuner.
TunerClassOverview hierarchy()
{
    TunerClassOverview overview;
    for (const char* const guid : {"g1", "g2"}) {
        RESOURCEMANAGEMENT::TunerClass item;
        item.SetGUID(QLatin1String(guid));
        item.SetName("ZELM_HW20M"_s);
        overview.EditTunerClass().append(item);
    }
    overview.EditTunerClass().first().SetRDC("hw_20MHz"_s);
    overview.EditTunerClass().first().SetHWProcessingRDC(true);
    overview.EditTunerClass().first().EditTunerID().append("a"_s);
    return overview;
}

} // namespace

class TestTunerClassesObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_value = values::Tree::Instance().Emplace<StringValue>(path);
        m_observer = std::make_unique<TunerClassesObserver>();
        QVERIFY(m_observer->init(path));
        connect(m_observer.get(), &TunerClassesObserver::si_TunerClassesChanged,
                [this] { m_log.append("classes"_s); });
        connect(m_observer.get(), &TunerClassesObserver::si_ValueChanged,
                [this] { m_log.append("value"_s); });
        m_log.clear();
    }
    void cleanup()
    {
        m_observer.reset();
        values::Tree::Instance().Clear();
    }

    void classesAreLookedUpByName()
    {
        const QString name = "ZELM_HW20M"_s;
        QVERIFY(m_observer->getResourceDemandClassForTunerClassName(name).isEmpty());
        QVERIFY(!m_observer->isHwProcessingRDCName(name));
        m_value->SetValue(hierarchy().GetXmlString());
        m_value->SetValue(QString()); // does not wipe the mirror
        QCOMPARE(m_log, m_changed);
        QCOMPARE(m_observer->getResourceDemandClassForTunerClassName(name), "hw_20MHz"_s);
        QVERIFY(m_observer->isHwProcessingRDCName(name));
        QVERIFY(!m_observer->isHwProcessingRDCName("hw_20MHz"_s));
        Tuner tuner;
        tuner.EditTavikResource().SetAddress("a"_s);
        ResourceOverview resources;
        resources.EditTuner().append(tuner);
        QCOMPARE(m_observer->getTunerClassTree(resources)->getClassForTuner(tuner)->getName(), name);
    }

    void ownChangesAreMirroredAndAnnounced()
    {
        TunerClassesObserver other;
        QVERIFY(other.init(path));
        const TunerClassOverview overview = hierarchy();
        QVERIFY(m_observer->setTunerClassOverview(overview));
        QVERIFY(m_observer->getTunerClassOverview() == overview && other.getTunerClassOverview() == overview);
        QCOMPARE(m_value->GetValue(), overview.GetXmlString());
        QVERIFY(m_observer->setTunerClassOverview(overview));
        QCOMPARE(m_log, m_changed); // once

        // Somebody answers the change with another one at once: the last one counts.
        connect(&other, &TunerClassesObserver::si_TunerClassesChanged, &other,
                [this, overview] { m_value->SetValue(overview.GetXmlString()); });
        QVERIFY(m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(m_observer->getTunerClassOverview() == overview);

        connect(m_observer.get(), &TunerClassesObserver::si_TunerClassesChanged,
                [this] { m_observer.reset(); });
        values::Tree::Instance().Remove(path);
        m_value = values::Tree::Instance().Emplace<StringValue>(path);
        disconnect(&other, nullptr, &other, nullptr);
        QVERIFY(m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(!m_observer);
    }

    void whatCannotBeWrittenChangesNothing()
    {
        const TunerClassOverview overview = hierarchy();
        QVERIFY(m_observer->setTunerClassOverview(overview));
        m_log.clear();
        TunerClassOverview invalid;
        invalid.EditTunerClass().append(RESOURCEMANAGEMENT::TunerClass());
        Startup::TraceRecorder traces;
        QVERIFY(!m_observer->setTunerClassOverview(invalid));
        QCOMPARE(traces.records().last().text,
                 "RGException when trying to set tuner class tree. Invalid object: "
                 "TunerClassOverview/TunerClass[1]/GUID is missing"_s);
        QCOMPARE(traces.records().last().source, "devicecontrol/kolta/koltacommon/tunerclassesobserver"_s);
        values::Tree::Instance().Remove(path);
        QVERIFY(!m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(!m_observer->init("/nowhere"_s));
        QVERIFY(!m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(m_observer->getTunerClassOverview() == overview && m_log.isEmpty());
        QCOMPARE(traces.records().size(), 3);
    }

private:
    const QStringList m_changed{"classes"_s, "value"_s};
    StringValue* m_value = nullptr;
    std::unique_ptr<TunerClassesObserver> m_observer;
    QStringList m_log;
};

KOLTA_TEST(TestTunerClassesObserver);
#include "tst_tunerclassesobserver.moc"
