#include "processorfacts.h"

namespace Kolta::ProcessorFacts {

using Processor = ProcessorIndex::Processor;
using namespace RESOURCEMANAGEMENT;

namespace {

const QString kNothing;

template<class Node>
const Node& as(const Processor& processor)
{
    return static_cast<const Node&>(*processor.object);
}

/// What productions without a tuner write in its place.
const QString& tunerIn(const DataSource& source)
{
    return source.GetTunerGUID() == QLatin1String("none") ? kNothing : source.GetTunerGUID();
}

template<class Node>
Band bandIn(const Node& node)
{
    return {node.GetFrequency(), node.GetBandwidth()};
}

} // namespace

const QString& tunerOf(const Processor& processor)
{
    switch (processor.kind) {
    case eAppSCP:
        return tunerIn(as<SCP>(processor).GetDataSource());
    case eAppMCP:
        return tunerIn(as<MCP>(processor).GetDataSource());
    case eAppFFP:
        return as<FFP>(processor).GetTunerGUID();
    default:
        return kNothing;
    }
}

const QString& productionOf(const Processor& processor)
{
    switch (processor.kind) {
    case eAppSCP:
        return as<SCP>(processor).GetProductionID();
    case eAppMCP:
        return as<MCP>(processor).GetProductionID();
    default:
        return kNothing;
    }
}

Band bandOf(const Processor& processor)
{
    switch (processor.kind) {
    case eAppSCP:
        return bandIn(as<SCP>(processor));
    case eAppMCP:
        return bandIn(as<MCP>(processor));
    case eAppFFP:
        return bandIn(as<FFP>(processor));
    default:
        return {};
    }
}

} // namespace Kolta::ProcessorFacts
