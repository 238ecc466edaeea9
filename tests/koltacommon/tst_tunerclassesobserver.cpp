#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclasstree.h>

#include <resourcemodel/resources.h>
#include <startup/errorhandler.h>

#include <QtTest>

using namespace Kolta;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;
using values::StringValue;

namespace {

const QString path = QStringLiteral("/S1/ADMINISTRATION/TunerClasses");

/// Two classes of one name, of which the first needs hardware and has a tuner.
TunerClassOverview hierarchy()
{
    TunerClassOverview overview;
    for (const char* const guid : {"g1", "g2"}) {
        RESOURCEMANAGEMENT::TunerClass item;
        item.SetGUID(QLatin1String(guid));
        item.SetName(QStringLiteral("ZELM_HW20M"));
        overview.EditTunerClass().append(item);
    }
    overview.EditTunerClass().first().SetRDC(QStringLiteral("hw_20MHz"));
    overview.EditTunerClass().first().SetHWProcessingRDC(true);
    overview.EditTunerClass().first().EditTunerID().append(QStringLiteral("a"));
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
                [this] { m_log.append(QLatin1String("classes")); });
        connect(m_observer.get(), &TunerClassesObserver::si_ValueChanged,
                [this] { m_log.append(QLatin1String("value")); });
        m_log.clear();
    }
    void cleanup()
    {
        m_observer.reset();
        values::Tree::Instance().Clear();
    }

    void classesAreLookedUpByName()
    {
        const QString name = QStringLiteral("ZELM_HW20M");
        QVERIFY(m_observer->getResourceDemandClassForTunerClassName(name).isEmpty());
        QVERIFY(!m_observer->isHwProcessingRDCName(name));
        m_value->SetValue(hierarchy().GetXmlString());
        m_value->SetValue(QString()); // does not wipe the mirror
        QCOMPARE(m_log, m_changed);
        QCOMPARE(m_observer->getResourceDemandClassForTunerClassName(name), QStringLiteral("hw_20MHz"));
        QVERIFY(m_observer->isHwProcessingRDCName(name));
        QVERIFY(!m_observer->isHwProcessingRDCName(QStringLiteral("hw_20MHz")));
        Tuner tuner;
        tuner.EditTavikResource().SetAddress(QStringLiteral("a"));
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
                 QStringLiteral("RGException when trying to set tuner class tree. Invalid object: "
                                "TunerClassOverview/TunerClass[1]/GUID is missing"));
        QCOMPARE(traces.records().last().source,
                 QStringLiteral("devicecontrol/kolta/koltacommon/tunerclassesobserver"));
        values::Tree::Instance().Remove(path);
        QVERIFY(!m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(!m_observer->init(QStringLiteral("/nowhere")));
        QVERIFY(!m_observer->setTunerClassOverview(TunerClassOverview()));
        QVERIFY(m_observer->getTunerClassOverview() == overview && m_log.isEmpty());
        QCOMPARE(traces.records().size(), 3);
    }

private:
    const QStringList m_changed{QStringLiteral("classes"), QStringLiteral("value")};
    StringValue* m_value = nullptr;
    std::unique_ptr<TunerClassesObserver> m_observer;
    QStringList m_log;
};

QTEST_GUILESS_MAIN(TestTunerClassesObserver)
#include "tst_tunerclassesobserver.moc"
