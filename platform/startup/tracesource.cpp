#include <startup/tracesource.h>

#include <exception>

namespace Startup {

QString CurrentExceptionText(const QString& otherwise)
{
    try {
        throw;
    } catch (const std::exception& exception) {
        return QString::fromUtf8(exception.what());
    } catch (...) {
        return otherwise;
    }
}

void TraceSource::write(quint32 channel, int point, const QString& text) const noexcept
{
    try {
        ErrorHandler& handler = ErrorHandler::Instance();
        if (handler.isEnabled(channel))
            handler.trace(channel, QString::fromLatin1(m_name), point, text);
    } catch (...) { // only for lack of memory
    }
}

void TraceSource::writeCaught(int point, int unknownPoint, const char* where) const noexcept
{
    try {
        const QString says = CurrentExceptionText(QString());
        const QString from = QLatin1String(where);
        if (says.isNull())
            write(m_channel, unknownPoint, QStringLiteral("caught unknown exception from ") + from);
        else
            write(m_channel, point, QStringLiteral("caught exception from %1 %2").arg(from, says));
    } catch (...) { // only for lack of memory
    }
}

} // namespace Startup
