#include <koltacommon/tavikresourceconverter.h>

#include <koltacommon/reportexceptiontext.h>
#include <koltacommon/wholetextwriter.h>

#include <startup/tracesource.h>
#include <values/value.h>

namespace Kolta {

namespace {

enum eTracePoint : int { eReportException = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tavikresourceconverter");

} // namespace

/// The one by whose name the value is changed; it observes nothing.
class TavikResourceConverter::Writer final : public IObserver, public WholeTextWriter
{
public:
    void write(values::StringValue& value, const QString& text) { writeText(value, text, this); }
    void Update(Observable* /*source*/, TChangeCode /*code*/) override {}

private:
    QString mergeTexts(const QString& before, const QString& mine, const QString& valid) const override
    {
        return mergeTextsOf<RESOURCEMANAGEMENT::ResourceOverview>(before, mine, valid);
    }
};

TavikResourceConverter::TavikResourceConverter(QObject* parent)
    : QObject(parent), m_writer(std::make_unique<Writer>())
{
}

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
        m_writer->write(*value, text);
        return true;
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, reportExceptionText(exception));
        return false;
    }
}

} // namespace Kolta
