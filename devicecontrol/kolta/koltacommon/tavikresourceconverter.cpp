#include <koltacommon/tavikresourceconverter.h>

#include <startup/tracesource.h>
#include <values/value.h>

namespace Kolta {

namespace {

enum eTracePoint : int { eReportException = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tavikresourceconverter");

} // namespace

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
        kTrace(eReportException,
               QStringLiteral("ReportException %1: %2").arg(exception.GetTitle(), exception.GetText()));
        return false;
    }
}

} // namespace Kolta
