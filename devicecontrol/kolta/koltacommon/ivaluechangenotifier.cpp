#include <koltacommon/ivaluechangenotifier.h>

#include <resourcemodel/rgobject.h>
#include <startup/errorhandler.h>

namespace Kolta {

IValueChangeNotifier::IValueChangeNotifier(QObject* parent) : QObject(parent) {}

IValueChangeNotifier::~IValueChangeNotifier() = default;

QString IValueChangeNotifier::parentNodePath(const QString& path)
{
    return path.left(path.lastIndexOf(QLatin1Char('/')));
}

void IValueChangeNotifier::traceReportException(const REPORTGENERATOR::RGException& exception)
{
    Startup::ErrorHandler::Instance().trace(
        Startup::eTrace, QStringLiteral("devicecontrol/kolta/koltacommon/abstractrgvalueobserver"), 100,
        QStringLiteral("ReportException %1: %2").arg(exception.GetTitle(), exception.GetText()));
}

} // namespace Kolta
