#pragma once

#include <koltacommon/processorindex.h>

/// What only some kinds of processors say about themselves, for all kinds.
namespace Kolta::ProcessorFacts {

/// GUID of the tuner that feeds it: an SCP's or MCP's data source, an FFP's own. Empty for none.
QString tunerOf(const ProcessorIndex::Processor& processor);
/// GUID of the production that an SCP or MCP serves.
const QString& productionOf(const ProcessorIndex::Processor& processor);

/// Of SCPs, MCPs and FFPs, in Hz; 0 for what says nothing.
struct Band
{
    double frequency = 0.0;
    double bandwidth = 0.0;
};
Band bandOf(const ProcessorIndex::Processor& processor);

} // namespace Kolta::ProcessorFacts
