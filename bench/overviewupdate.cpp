#include "figure.h"
#include "heapbytes.h"

#include <koltacommon/koltaresourceobserver.h>
#include <simulation/resourcegenerator.h>
#include <values/value.h>

#include <QCoreApplication>
#include <QXmlStreamReader>

#include <memory>

namespace Bench {

namespace {

using Kolta::KoltaResourceObserver;
using RESOURCEMANAGEMENT::ResourceOverview;

constexpr int many = 10000;
constexpr int few = 1000;
constexpr int changedShare = 100; ///< one tuner in so many changes

/// Two overviews of one installation that differ in the idle state of 1 % of its tuners.
struct Texts
{
    explicit Texts(int tuners)
    {
        ResourceOverview overview = KoltaSimulation::makeResources(tuners, 1);
        text[0] = overview.GetXmlString();
        for (int i = changedShare / 2; i < tuners; i += changedShare) {
            RESOURCEMANAGEMENT::Tuner& tuner = overview.EditTuner()[i];
            tuner.SetIdle(!tuner.GetIdle());
            guid = tuner.GetTavikResource().GetGUID();
        }
        text[1] = overview.GetXmlString();
    }

    QString text[2];
    QString guid; ///< of one of the tuners
};

/// A server's value and the client's mirror of it, with listeners as an application has them.
class Mirror
{
public:
    explicit Mirror(int tuners)
        : m_texts(tuners)
        , m_tuners(tuners)
        , m_path(QStringLiteral("/Bench/S%1/ADMINISTRATION/Resources").arg(tuners))
    {
        m_value = values::Tree::Instance().Emplace<values::StringValue>(m_path, m_texts.text[0]);
        require(m_value && m_observer.init(m_path), "the mirror finds no value");
        require(m_observer.GetCurrentResources().GetTuner().size() == tuners, "the mirror is not complete");
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
        require(m_tunerChanges == m_tuners / changedShare && m_resourceChanges == 1 && m_valueChanges == 1,
                "an update was not announced as it should be");
    }

    const QString& text() const { return m_texts.text[m_current]; }

    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

private:
    Texts m_texts;
    int m_tuners;
    QString m_path;
    values::StringValue* m_value = nullptr;
    KoltaResourceObserver m_observer;
    int m_current = 0;
    int m_tunerChanges = 0;
    int m_resourceChanges = 0;
    int m_valueChanges = 0;
};

void scanTokens(const QString& text)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd())
        reader.readNext();
    require(!reader.hasError(), "the overview is not well-formed");
}

Sides updateAgainstScan()
{
    const auto mirror = std::make_shared<Mirror>(many);
    return {timed([mirror] { mirror->update(); }), timed([mirror] { scanTokens(mirror->text()); })};
}

Sides updateGrowth()
{
    const auto large = std::make_shared<Mirror>(many);
    const auto small = std::make_shared<Mirror>(few);
    constexpr int equalWork = many / few;
    const auto updateSmall = [small] {
        for (int i = 0; i < equalWork; ++i)
            small->update();
    };
    return {timed([large] { large->update(); }), timed(updateSmall, equalWork)};
}

/// What a mirror holds after an update has settled, its index of GUIDs built and the value's text included.
double mirrorBytes(const QByteArray& first, const QByteArray& second, const QString& guid)
{
    values::Tree& tree = values::Tree::Instance();
    const QString path = QStringLiteral("/Bench/Memory/ADMINISTRATION/Resources");
    const double before = heapBytes();
    double bytes = 0;
    {
        auto* value = tree.Emplace<values::StringValue>(path, QString::fromUtf8(first));
        KoltaResourceObserver observer;
        require(value && observer.init(path), "the mirror finds no value");
        value->SetValue(QString::fromUtf8(second));
        require(observer.FindResource(guid) != nullptr, "the mirror is not complete");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        bytes = heapBytes() - before;
    }
    tree.Remove(QStringLiteral("/Bench"));
    return bytes;
}

Sides mirrorMemory()
{
    const Texts texts(many);
    const auto library = [first = texts.text[0].toUtf8(), second = texts.text[1].toUtf8(),
                          guid = texts.guid] { return mirrorBytes(first, second, guid); };
    return {library, [bytes = static_cast<double>(texts.text[1].toUtf8().size())] { return bytes; }};
}

const bool scanAdded =
    addFigure({"overview_update_10k_vs_token_scan", "bare QXmlStreamReader token scan of the same text", 0.6,
               Unit::Time, updateAgainstScan});
const bool growthAdded =
    addFigure({"overview_update_growth_10k_over_1k", "itself with 1,000 tuners instead of 10,000", 12,
               Unit::Time, updateGrowth});
const bool memoryAdded = addFigure(
    {"mirror_memory_vs_text", "UTF-8 bytes of the overview's text", 4.0, Unit::Bytes, mirrorMemory});

} // namespace

} // namespace Bench
