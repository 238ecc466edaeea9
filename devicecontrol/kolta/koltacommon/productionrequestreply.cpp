#include <koltacommon/productionrequestreply.h>

#include <koltacommon/guidtext.h>

namespace Kolta {

ProductionRequestReply::ProductionRequestReply(const QUuid& production, bool accepted, const QString& text)
    : m_production(production), m_accepted(accepted), m_text(text)
{
}

QString ProductionRequestReply::toString() const
{
    const QLatin1String accepted(m_accepted ? "1" : "0");
    return QStringLiteral("%1@%2@%3").arg(m_production.toString(), accepted, m_text);
}

std::optional<ProductionRequestReply> ProductionRequestReply::fromString(const QString& text)
{
    const QChar separator = QLatin1Char('@');
    if (text.count(separator) < 2)
        return std::nullopt;
    const QUuid production = guidFromText(text.section(separator, 0, 0));
    const QString accepted = text.section(separator, 1, 1);
    const bool isAccepted = accepted == QLatin1String("1");
    if (production.isNull() || (!isAccepted && accepted != QLatin1String("0")))
        return std::nullopt;
    return ProductionRequestReply(production, isAccepted, text.section(separator, 2));
}

} // namespace Kolta
