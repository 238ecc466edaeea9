#include "productionsfixture.h"

#include <startup/errorhandler.h>

using RESOURCEMANAGEMENT::Tuner;

ProductionsFixture::ProductionsFixture()
{
    m_installation.setCreditsPerUnit(100);
    auto resources = m_installation.resources();
    for (Tuner& tuner : resources.EditTuner()) // the first free ones process nothing in hardware otherwise
        tuner.SetSupportsHardwareProcessing(true);
    m_installation.setResources(resources);
    Startup::ErrorHandler::Instance().setMask(Startup::eTraceError);
}

QString ProductionsFixture::text(const char* name) const
{
    const auto* value = values::Tree::Instance().FindAs<values::StringValue>(base() + QLatin1String(name));
    return value ? value->GetValue() : QStringLiteral("<none>");
}

QStringList ProductionsFixture::children(const char* name) const
{
    const auto* const node = values::Tree::Instance().Find(base() + QLatin1String(name));
    return node ? node->GetChildNames() : QStringList(QStringLiteral("<none>"));
}

QString ProductionsFixture::freeTuner(int number) const
{
    for (const Tuner& tuner : m_installation.resources().GetTuner()) {
        if (tuner.GetAccessible() && tuner.GetIdle() && number-- == 0)
            return tuner.GetTavikResource().GetGUID();
    }
    return QString();
}

bool ProductionsFixture::isIdle(const QString& tuner) const
{
    const auto overview = read<RESOURCEMANAGEMENT::ResourceOverview>("Resources");
    const auto* const found = dynamic_cast<const Tuner*>(Kolta::TavikXmlHelpers::FindGUID(tuner, overview));
    return found && found->GetIdle();
}

QUuid ProductionsFixture::produced(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp)
{
    using Kolta::TavikXmlHelpers::ALL_GUIDS_OF;
    const QSet<QString> before = ALL_GUIDS_OF(running());
    const QUuid production = ask(object, mcp);
    if (settled() != QStringList{accepted(production)})
        return QUuid();
    // An MCP or SCP is found by its production; an FFP of its own is all that is new.
    auto now = running();
    const auto found = Kolta::TavikXmlHelpers::FindProductionID(production.toString(), now);
    return QUuid(found.object ? found.objectProcessor->GetTavikResource().GetGUID()
                              : (ALL_GUIDS_OF(now) - before).values().value(0));
}
