#include "orderdraft.h"

#include <QSettings>

namespace KoltaConsole {

using Kolta::ProductionOrder;

bool OrderDraft::isEmpty() const
{
    return m_order.tunerClass.isEmpty() && m_order.tunerGuid.isEmpty() && m_order.frequency <= 0 &&
           m_order.bandwidth <= 0;
}

void OrderDraft::set(const ProductionOrder& order, const QString& server)
{
    m_order = order;
    m_server = server;
    Q_EMIT si_Changed();
}

void OrderDraft::setBand(double from, double to)
{
    m_order.frequency = (from + to) / 2;
    m_order.bandwidth = to - from;
    Q_EMIT si_Changed();
}

void OrderDraft::restore()
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("order"));
    m_order = ProductionOrder();
    m_order.kind = static_cast<ProductionOrder::Kind>(
        qBound(0, settings.value(QStringLiteral("kind"), static_cast<int>(m_order.kind)).toInt(), 2));
    m_order.tunerClass = settings.value(QStringLiteral("class")).toString();
    m_order.frequency = settings.value(QStringLiteral("frequency")).toDouble();
    m_order.bandwidth = settings.value(QStringLiteral("bandwidth")).toDouble();
    m_order.displayName = settings.value(QStringLiteral("name")).toString();
    m_server = settings.value(QStringLiteral("server")).toString();
}

void OrderDraft::save() const
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("order"));
    settings.setValue(QStringLiteral("kind"), static_cast<int>(m_order.kind));
    settings.setValue(QStringLiteral("class"), m_order.tunerClass);
    settings.setValue(QStringLiteral("frequency"), m_order.frequency);
    settings.setValue(QStringLiteral("bandwidth"), m_order.bandwidth);
    settings.setValue(QStringLiteral("name"), m_order.displayName);
    settings.setValue(QStringLiteral("server"), m_server);
}

} // namespace KoltaConsole
