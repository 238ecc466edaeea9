#include "orderdraft.h"

#include "keptsettings.h"

#include <koltacommon/guidtext.h>

#include <QUrl>

namespace KoltaConsole {

using Kolta::ProductionOrder;

void writeOrder(QSettings& settings, const ProductionOrder& order)
{
    settings.setValue(QStringLiteral("kind"), static_cast<int>(order.kind));
    settings.setValue(QStringLiteral("class"), order.tunerClass);
    settings.setValue(QStringLiteral("tuner"), order.tunerGuid);
    settings.setValue(QStringLiteral("frequency"), order.frequency);
    settings.setValue(QStringLiteral("bandwidth"), order.bandwidth);
    settings.setValue(QStringLiteral("mcp"), order.mcp.isNull() ? QString() : order.mcp.toString());
    settings.setValue(QStringLiteral("demandClass"), order.demandClass);
    settings.setValue(QStringLiteral("storage"), order.storageGuids);
    settings.setValue(QStringLiteral("name"), order.displayName);
}

ProductionOrder readOrder(const QSettings& settings)
{
    ProductionOrder order;
    order.kind = static_cast<ProductionOrder::Kind>(
        qBound(0, settings.value(QStringLiteral("kind"), static_cast<int>(order.kind)).toInt(), 2));
    order.tunerClass = settings.value(QStringLiteral("class")).toString();
    order.tunerGuid = settings.value(QStringLiteral("tuner")).toString();
    order.frequency = settings.value(QStringLiteral("frequency")).toDouble();
    order.bandwidth = settings.value(QStringLiteral("bandwidth")).toDouble();
    order.mcp = Kolta::guidFromText(settings.value(QStringLiteral("mcp")).toString());
    order.demandClass = settings.value(QStringLiteral("demandClass")).toString();
    order.storageGuids = settings.value(QStringLiteral("storage")).toStringList();
    order.displayName = settings.value(QStringLiteral("name")).toString();
    return order;
}

QString keptKey(const QString& kind, const QStringList& of)
{
    QString key = kind;
    for (const QString& each : of)
        key += QLatin1Char('/') + QString::fromLatin1(QUrl::toPercentEncoding(each));
    return key;
}

OrderDraft::OrderDraft(QObject* parent) : QObject(parent)
{
    m_keeping.setSingleShot(true);
    m_keeping.setInterval(kKeepMs);
    connect(&m_keeping, &QTimer::timeout, this, &OrderDraft::save);
    connect(this, &OrderDraft::si_Changed, this, [this] {
        if (m_isKept)
            m_keeping.start();
    });
}

bool OrderDraft::isEmpty() const
{
    return m_order.tunerClass.isEmpty() && m_order.tunerGuid.isEmpty() && m_order.frequency <= 0 &&
           m_order.bandwidth <= 0;
}

void OrderDraft::set(const ProductionOrder& order, const QString& server, const QString& tuner)
{
    m_order = order;
    m_server = server;
    m_tuner = tuner;
    Q_EMIT si_Changed();
}

void OrderDraft::setBand(double from, double to)
{
    m_order.frequency = (from + to) / 2;
    m_order.bandwidth = to - from;
    m_tuner.clear();
    Q_EMIT si_Changed();
}

void OrderDraft::restore()
{
    QSettings settings;
    settings.beginGroup(keptKey(QStringLiteral("order"), {m_installation}));
    m_order = readOrder(settings);
    m_server = settings.value(QStringLiteral("server")).toString();
    m_isKept = true;
}

void OrderDraft::save() const
{
    KeptSettings settings;
    settings.beginGroup(keptKey(QStringLiteral("order"), {m_installation}));
    writeOrder(settings, m_order);
    settings.setValue(QStringLiteral("server"), m_server);
}

} // namespace KoltaConsole
