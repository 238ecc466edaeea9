#pragma once

#include <QString>

namespace KoltaSimulation {

/// Writes down an order and what came of it: one trace line "<who> from <where>: <what>: <result>" of the
/// source "simulation/audit", for orders that were obeyed and those that were refused alike.
void audit(const QString& who, const QString& where, const QString& what, const QString& result);

} // namespace KoltaSimulation
