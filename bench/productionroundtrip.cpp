#include "figure.h"

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/productionrequestreply.h>
#include <resourcemodel/requests.h>
#include <startup/errorhandler.h>

#include <memory>

namespace Bench {

namespace {

using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::RequestResource;
using values::StringValue;
using values::Tree;

constexpr int kRounds = 200;

MCP sampleMcp()
{
    MCP mcp;
    Kolta::ProcessorConverter::setupDefaultMCP(mcp);
    mcp.EditFFP().resize(4);
    for (FFP& ffp : mcp.EditFFP())
        Kolta::ProcessorConverter::setupDefaultFFP(ffp);
    return mcp;
}

QString replyTo(const QString& production)
{
    return Kolta::ProductionRequestReply(QUuid(production), true, QString()).toString();
}

/// The least that a server does: reads the request, deletes its value, answers.
class Replier : public IObserver
{
public:
    explicit Replier(const QString& base) : m_reply(base + QStringLiteral("/ReplyResource"))
    {
        m_requests = Tree::Instance().EnsureNode(base + QStringLiteral("/RequestsNode"));
        m_requests->Attach(this);
    }
    void Update(Observable*, TChangeCode code) override
    {
        if (code != eChangeChildAdded)
            return;
        auto* const value = static_cast<StringValue*>(m_requests->GetChildren().constFirst());
        const QString text = value->GetValue();
        Tree::Instance().Remove(value->GetPath());
        RequestResource request;
        request.SetXmlString(text, true);
        values::WriteOrAnnounce(m_reply, replyTo(request.GetMCP().GetProductionID()));
    }

private:
    values::TreeItem* m_requests;
    QString m_reply;
};

/// An installation's values with a production control and a server on them.
struct World
{
    World() : replier(base)
    {
        for (const char* name : {"/StopResource", "/stopAll", "/ReplyResource", "/StoppedResource"})
            Tree::Instance().Emplace<StringValue>(base + QLatin1String(name));
        control.init(base);
        QObject::connect(
            &control, &Kolta::KoltaProductionControl::si_ProductionRequestReplied, &control,
            [this](const QUuid& production, bool accepted) { answered = accepted ? production : QUuid(); });
    }
    ~World() { Tree::Instance().Remove(base); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void ask()
    {
        const QUuid production = control.requestProduction(mcp);
        require(!production.isNull() && answered == production, "a request was not answered");
    }

    const QString base = QStringLiteral("/Bench/Server/ADMINISTRATION");
    const MCP mcp = sampleMcp();
    QUuid answered;
    Replier replier;
    Kolta::KoltaProductionControl control;
};

/// The same texts through the same tree, with nobody between.
struct Floor
{
    Floor()
    {
        MCP mcp = sampleMcp();
        mcp.SetProductionID(production);
        request.SetRequestType(0);
        request.SetMCP(mcp);
        request.SetRequestName(mcp.GetKoltaProcessor().GetTavikResource().GetDisplayName());
        replyText = replyTo(production);
        Tree::Instance().EnsureNode(base + QStringLiteral("/RequestsNode"));
        Tree::Instance().Emplace<StringValue>(reply);
    }
    ~Floor() { Tree::Instance().Remove(base); }
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;

    void ask()
    {
        Tree::Instance().Emplace<StringValue>(value, request.GetXmlString());
        const QString text = Tree::Instance().FindAs<StringValue>(value)->GetValue();
        Tree::Instance().Remove(value);
        RequestResource read;
        read.SetXmlString(text, true);
        require(read.GetMCP().GetProductionID() == production, "a request was read wrong");
        values::WriteOrAnnounce(reply, replyText);
    }

    const QString base = QStringLiteral("/Bench/Floor/ADMINISTRATION");
    const QString value = base + QStringLiteral("/RequestsNode/id") + QUuid::createUuid().toString();
    const QString reply = base + QStringLiteral("/ReplyResource");
    const QString production = QUuid::createUuid().toString();
    RequestResource request;
    QString replyText;
};

Sides productionRoundTrip()
{
    // The line per request is for support's eyes; what it costs depends on where it goes.
    auto& errorHandler = Startup::ErrorHandler::Instance();
    errorHandler.setMask(errorHandler.mask() & ~static_cast<quint32>(Startup::eTraceDetail));
    const auto world = std::make_shared<World>();
    const auto bare = std::make_shared<Floor>();
    const auto times = [](const auto& side) {
        return [side] {
            for (int i = 0; i < kRounds; ++i)
                side->ask();
        };
    };
    return {timed(times(world), kRounds), timed(times(bare), kRounds)};
}

/// Made before main(), so that it outlives the sides of the last figure.
const Tree& tree = Tree::Instance();

const bool added =
    addFigure({"production_roundtrip_vs_tree_writes",
               "the values written and deleted without observers, and one XML write and parse, "
               "of the same texts",
               3.0, Unit::Time, productionRoundTrip});

} // namespace

} // namespace Bench
