#include <koltacommon/tavikresourceconverter.h>

#include <startup/errorhandler.h>
#include <values/value.h>

namespace Kolta {

TavikResourceConverter::TavikResourceConverter(QObject* parent) : QObject(parent) {}

TavikResourceConverter::~TavikResourceConverter() = default;

void TavikResourceConverter::SetOverViewVTPath(const QString& path)
{
    m_path = path;
}

bool TavikResourceConverter::SetResourceOverview(const RESOURCEMANAGEMENT::ResourceOverview& overview)
{
    try {
        const QString text = overview.GetXmlString();
        m_overview = overview;
        auto* const value = values::Tree::Instance().FindAs<values::StringValue>(m_path);
        if (!value || value->IsDeleted())
            return false;
        value->SetValue(text);
        return true;
    } catch (const REPORTGENERATOR::RGException& exception) {
        Startup::ErrorHandler::Instance().trace(
            Startup::eTrace, QStringLiteral("devicecontrol/kolta/koltacommon/tavikresourceconverter"), 100,
            QStringLiteral("ReportException %1: %2").arg(exception.GetTitle(), exception.GetText()));
        return false;
    }
}

} // namespace Kolta
