#include "figure.h"
#include "tokenscan.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/processorconverter.h>
#include <values/tree.h>

#include <QUuid>

#include <memory>

namespace Bench {

namespace {

using Kolta::KoltaProcessorObserver;
using Kolta::ProcessorConverter;
using namespace RESOURCEMANAGEMENT;

constexpr int kMany = 10000;
constexpr int kPerMcp = 10;         ///< an MCP with two FFPs and a DSC of six
constexpr int kChangedShare = 100;  ///< one processor in so many changes
constexpr int kStartedShare = 1000; ///< one in so many starts or stops

template<class Node>
Node processor(Node node, int number)
{
    TavikResource& resource = node.EditKoltaProcessor().EditTavikResource();
    resource.SetGUID(QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, uchar(number >> 8), uchar(number)).toString());
    resource.SetDisplayName(QStringLiteral("Processor %1").arg(number));
    return node;
}

FFP ffp(int number)
{
    FFP node;
    ProcessorConverter::setupDefaultFFP(node);
    node.SetFrequency(100e6 + 25e3 * number);
    node.SetBandwidth(25e3);
    return processor(std::move(node), number);
}

ProcessorOverview makeProcessors(int count)
{
    ProcessorOverview overview;
    for (int first = 0; first < count; first += kPerMcp) {
        MCP mcp;
        ProcessorConverter::setupDefaultMCP(mcp);
        mcp.SetProductionID(QUuid(1, 1, 1, 1, 1, 1, 1, 1, 1, uchar(first >> 8), uchar(first)).toString());
        mcp.EditFFP() = {ffp(first + 1), ffp(first + 2)};
        DSC dsc;
        ProcessorConverter::setupDefaultDSC(dsc, 0);
        for (int i = 4; i < kPerMcp; ++i)
            dsc.EditFFP().append(ffp(first + i));
        mcp.EditDSC().append(processor(std::move(dsc), first + 3));
        overview.EditMCP().append(processor(std::move(mcp), first));
    }
    ProcessorConverter::setCorrectNumberOfFFPs(overview);
    return overview;
}

/// A server's value and the client's mirror of it. Two texts take turns: of each hundred processors one has
/// another frequency, and one FFP in a thousand is there in one of them only.
class Mirror
{
public:
    Mirror(int processors, int number)
        : m_processors(processors)
        , m_path(QStringLiteral("/Bench/S%1/ADMINISTRATION/ActualConfiguration").arg(number))
    {
        ProcessorOverview overview = makeProcessors(processors);
        m_texts[0] = overview.GetXmlString();
        for (int mcp = 0; mcp < overview.GetMCP().size(); mcp += kChangedShare / kPerMcp)
            overview.EditMCP()[mcp].EditFFP()[1].SetBandwidth(50e3);
        for (int mcp = 1; mcp < overview.GetMCP().size(); mcp += kStartedShare / kPerMcp)
            overview.EditMCP()[mcp].EditDSC()[0].EditFFP().removeLast();
        m_texts[1] = overview.GetXmlString();
        m_value = values::Tree::Instance().Emplace<values::StringValue>(m_path, m_texts[0]);
        require(m_value && m_observer.init(m_path), "the mirror finds no value");
        const auto count = [this] { ++m_changes; };
        QObject::connect(&m_observer, &KoltaProcessorObserver::si_ProcessorStarted, count);
        QObject::connect(&m_observer, &KoltaProcessorObserver::si_ProcessorChanged, count);
        QObject::connect(&m_observer, &KoltaProcessorObserver::si_ProcessorStopped, count);
        QObject::connect(&m_observer, &KoltaProcessorObserver::si_RunningProcessorsChanged,
                         [this] { ++m_overviews; });
    }
    ~Mirror() { values::Tree::Instance().Remove(QStringLiteral("/Bench")); }

    /// From the value's change to the last signal.
    void work()
    {
        m_changes = m_overviews = 0;
        m_current = 1 - m_current;
        m_value->SetValue(m_texts[m_current]);
        require(m_changes == m_processors / kChangedShare + m_processors / kStartedShare && m_overviews == 1,
                "an update was not announced as it should be");
    }

    const QString& text() const { return m_texts[m_current]; }

    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

private:
    int m_processors;
    QString m_path;
    QString m_texts[2];
    values::StringValue* m_value = nullptr;
    KoltaProcessorObserver m_observer;
    int m_current = 0;
    int m_changes = 0;
    int m_overviews = 0;
};

Sides updateAgainstScan()
{
    const auto mirror = std::make_shared<Mirror>(kMany, 0);
    return {timed([mirror] { mirror->work(); }), timed([mirror] { scanTokens(mirror->text()); })};
}

const bool updateAdded =
    addFigure({"processor_update_10k_1pct_vs_token_scan", "bare QXmlStreamReader token scan of the same text",
               0.12, Unit::Time, updateAgainstScan});
const bool growthAdded = addFigure({"processor_update_growth_at_equal_bytes", kOfTenths, 1.25, Unit::Time,
                                    [] { return growthAtEqualBytes<Mirror>(kMany); }});

} // namespace

} // namespace Bench
