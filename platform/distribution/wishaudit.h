#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>
#include <distribution/writepolicy.h>

namespace distribution {

/// Where a writer says to be, for people: "host/program", or "an unknown place".
KOLTA_DISTRIBUTION_EXPORT QString PlaceOf(const Writer& writer);

/// Writes down what came of a change that somebody wished for: one trace line "<user> from <place>: <what>:
/// <result>" of the source "platform/distribution/audit".
KOLTA_DISTRIBUTION_EXPORT void Audit(const Writer& writer, const Change& change, const Failure& failure);

} // namespace distribution
