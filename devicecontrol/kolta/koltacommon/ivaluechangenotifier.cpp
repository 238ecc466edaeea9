#include <koltacommon/ivaluechangenotifier.h>

#include <koltacommon/reportexceptiontext.h>

#include <resourcemodel/rgobject.h>
#include <startup/tracesource.h>

namespace Kolta {

namespace {

enum eTracePoint : int { eReportException = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/abstractrgvalueobserver");

} // namespace

IValueChangeNotifier::IValueChangeNotifier(QObject* parent) : QObject(parent) {}

IValueChangeNotifier::~IValueChangeNotifier() = default;

QString IValueChangeNotifier::parentNodePath(const QString& path)
{
    return path.left(path.lastIndexOf(QLatin1Char('/')));
}

void IValueChangeNotifier::traceReportException(const REPORTGENERATOR::RGException& exception)
{
    kTrace(eReportException, reportExceptionText(exception));
}

} // namespace Kolta
