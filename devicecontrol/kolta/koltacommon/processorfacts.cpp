#include "processorfacts.h"

#include <koltacommon/processorwalk.h>

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

template<class Node>
Band bandIn(const Node& node)
{
    return {node.GetFrequency(), node.GetBandwidth()};
}

} // namespace

QString tunerOf(const Processor& processor)
{
    switch (processor.kind) {
    case eAppSCP:
        return ProcessorWalk::tunerOf(as<SCP>(processor));
    case eAppMCP:
        return ProcessorWalk::tunerOf(as<MCP>(processor));
    case eAppFFP:
        return ProcessorWalk::tunerOf(as<FFP>(processor));
    default:
        return QString();
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
