#pragma once

#include <QString>

namespace KoltaSimulation {

/// Who gives orders by writing into the value tree.
struct Orderer
{
    QString who; ///< empty: nobody knows
    QString where = QStringLiteral("the value tree");
};
/// Whoever is writing into the value tree at this moment, as far as it was said. On the tree's thread.
const Orderer& currentOrderer();
/// While this lives, what is written into the value tree is the order of `orderer`.
class OrdererScope
{
public:
    explicit OrdererScope(const Orderer& orderer);
    ~OrdererScope();
    OrdererScope(const OrdererScope&) = delete;
    OrdererScope& operator=(const OrdererScope&) = delete;

private:
    const Orderer m_outer;
};

/// Writes down an order and what came of it: one trace line "<who> from <where>: <what>: <result>" of the
/// source "simulation/audit", for orders that were obeyed and those that were refused alike.
void audit(const QString& who, const QString& where, const QString& what, const QString& result);

} // namespace KoltaSimulation
