#include "figure.h"
#include "tokenscan.h"

#include <koltacommon/koltaresourceobserver.h>
#include <simulation/resourcegenerator.h>
#include <support/heapbytes.h>
#include <values/value.h>

#include <QCoreApplication>

#include <memory>

namespace Bench {

namespace {

using Kolta::KoltaResourceObserver;
using RESOURCEMANAGEMENT::ResourceOverview;

constexpr int kMany = 10000;
constexpr int kChangedShare = 100; ///< one tuner in so many changes

/// Two overviews of one installation, and how many signals about tuners the way from one to the other takes.
struct Texts
{
    QString text[2];
    int changes = 0;
    QString guid; ///< of one of the tuners
};

/// They differ in the idle state of 1 % of the tuners, spread evenly.
Texts stateTexts(int tuners)
{
    Texts texts;
    ResourceOverview overview = KoltaSimulation::makeResources(tuners, 1);
    texts.text[0] = overview.GetXmlString();
    for (int i = kChangedShare / 2; i < tuners; i += kChangedShare) {
        RESOURCEMANAGEMENT::Tuner& tuner = overview.EditTuner()[i];
        tuner.SetIdle(!tuner.GetIdle());
        texts.guid = tuner.GetTavikResource().GetGUID();
        ++texts.changes;
    }
    texts.text[1] = overview.GetXmlString();
    return texts;
}

/// The second has one tuner more at the front, and one less at the end.
Texts shiftTexts(int tuners)
{
    Texts texts;
    ResourceOverview overview = KoltaSimulation::makeResources(tuners, 1);
    texts.text[0] = overview.GetXmlString();
    overview.EditTuner().prepend(KoltaSimulation::makeTuner(tuners, 1));
    overview.EditTuner().removeLast();
    texts.text[1] = overview.GetXmlString();
    texts.changes = 2;
    return texts;
}

/// A server's value and the client's mirror of it, with listeners as an application has them.
class Mirror
{
public:
    Mirror(const Texts& texts, int number)
        : m_texts(texts), m_path(QStringLiteral("/Bench/S%1/ADMINISTRATION/Resources").arg(number))
    {
        m_value = values::Tree::Instance().Emplace<values::StringValue>(m_path, m_texts.text[0]);
        require(m_value && m_observer.init(m_path), "the mirror finds no value");
        const auto countChange = [this] { ++m_tunerChanges; };
        QObject::connect(&m_observer, &KoltaResourceObserver::si_TunerIdleStateChanged, countChange);
        QObject::connect(&m_observer, &KoltaResourceObserver::si_TunerAccessiblityChanged, countChange);
        QObject::connect(&m_observer, &KoltaResourceObserver::si_NewTuner, countChange);
        QObject::connect(&m_observer, &KoltaResourceObserver::si_RemovedTuner, countChange);
        QObject::connect(&m_observer, &KoltaResourceObserver::si_ResourcesChanged,
                         [this] { ++m_resourceChanges; });
        QObject::connect(&m_observer, &KoltaResourceObserver::si_ValueChanged, [this] { ++m_valueChanges; });
    }
    ~Mirror() { values::Tree::Instance().Remove(QStringLiteral("/Bench")); }

    /// From the value's change to the last signal.
    void update()
    {
        m_tunerChanges = m_resourceChanges = m_valueChanges = 0;
        m_current = 1 - m_current;
        m_value->SetValue(m_texts.text[m_current]);
        require(m_tunerChanges == m_texts.changes && m_resourceChanges == 1 && m_valueChanges == 1,
                "an update was not announced as it should be");
    }

    const QString& text() const { return m_texts.text[m_current]; }

    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

private:
    Texts m_texts;
    QString m_path;
    values::StringValue* m_value = nullptr;
    KoltaResourceObserver m_observer;
    int m_current = 0;
    int m_tunerChanges = 0;
    int m_resourceChanges = 0;
    int m_valueChanges = 0;
};

template<Texts makeTexts(int)>
Sides updateAgainstScan()
{
    const auto mirror = std::make_shared<Mirror>(makeTexts(kMany), 0);
    return {timed([mirror] { mirror->update(); }), timed([mirror] { scanTokens(mirror->text()); })};
}

Sides parseAgainstScan()
{
    const auto text = std::make_shared<const QString>(stateTexts(kMany).text[0]);
    const auto parse = [text] {
        ResourceOverview overview;
        overview.SetXmlString(*text, true);
        require(overview.GetTuner().size() == kMany, "the overview is not complete");
    };
    return {timed(parse), timed([text] { scanTokens(*text); })};
}

struct StateUpdate
{
    StateUpdate(int tuners, int number) : mirror(stateTexts(tuners), number) {}
    void work() { mirror.update(); }

    Mirror mirror;
};

/// What a mirror holds after an update has settled, its index of GUIDs built and the value's text included.
double mirrorBytes(const QByteArray& first, const QByteArray& second, const QString& guid)
{
    values::Tree& tree = values::Tree::Instance();
    const QString path = QStringLiteral("/Bench/Memory/ADMINISTRATION/Resources");
    const qint64 before = heapBytes();
    double bytes = 0;
    {
        auto* value = tree.Emplace<values::StringValue>(path, QString::fromUtf8(first));
        KoltaResourceObserver observer;
        require(value && observer.init(path), "the mirror finds no value");
        value->SetValue(QString::fromUtf8(second));
        require(observer.FindResource(guid) != nullptr, "the mirror is not complete");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        bytes = static_cast<double>(heapBytes() - before);
    }
    tree.Remove(QStringLiteral("/Bench"));
    return bytes;
}

Sides mirrorMemory()
{
    const Texts texts = stateTexts(kMany);
    const auto library = [first = texts.text[0].toUtf8(), second = texts.text[1].toUtf8(),
                          guid = texts.guid] { return mirrorBytes(first, second, guid); };
    return {library, [bytes = static_cast<double>(texts.text[1].toUtf8().size())] { return bytes; }};
}

constexpr char kScan[] = "bare QXmlStreamReader token scan of the same text";
const bool updateAdded = addFigure(
    {"overview_update_10k_1pct_vs_token_scan", kScan, 0.08, Unit::Time, updateAgainstScan<stateTexts>});
const bool shiftAdded = addFigure({"overview_update_10k_insert_remove_vs_token_scan", kScan, 0.10, Unit::Time,
                                   updateAgainstScan<shiftTexts>});
const bool parseAdded =
    addFigure({"overview_parse_10k_vs_token_scan", kScan, 0.45, Unit::Time, parseAgainstScan});
const bool growthAdded = addFigure({"overview_update_growth_at_equal_bytes", kOfTenths, 1.25, Unit::Time,
                                    [] { return growthAtEqualBytes<StateUpdate>(kMany); }});
const bool memoryAdded = addFigure(
    {"mirror_memory_vs_text", "UTF-8 bytes of the overview's text", 3.1, Unit::Bytes, mirrorMemory});

} // namespace

} // namespace Bench
