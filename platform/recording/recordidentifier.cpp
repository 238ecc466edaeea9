#include <recording/recordidentifier.h>

#include <QHash>
#include <QStringList>

namespace sorel {

namespace {

constexpr QLatin1Char kSeparator('/');

QString escaped(QString part)
{
    return part.replace(QLatin1Char('%'), QLatin1String("%25")).replace(kSeparator, QLatin1String("%2F"));
}

/// False when `part` holds a "%" that escaped() did not write.
bool unescape(QString& part)
{
    for (int at = part.indexOf(QLatin1Char('%')); at >= 0; at = part.indexOf(QLatin1Char('%'), at + 1)) {
        const QStringRef code = part.midRef(at, 3);
        if (code != QLatin1String("%25") && code != QLatin1String("%2F"))
            return false;
        part.replace(at, 3, code.endsWith(QLatin1Char('F')) ? kSeparator : QLatin1Char('%'));
    }
    return true;
}

} // namespace

QString RecordIdentifier::toString() const
{
    if (*this == RecordIdentifier())
        return QString();
    return escaped(m_subSystem) + kSeparator + escaped(m_deviceID) + kSeparator + escaped(m_recordID);
}

RecordIdentifier RecordIdentifier::fromString(const QString& text)
{
    QStringList parts = text.split(kSeparator);
    if (parts.size() != 3 || !unescape(parts[0]) || !unescape(parts[1]) || !unescape(parts[2]))
        return RecordIdentifier();
    return RecordIdentifier(parts[0], parts[1], parts[2]);
}

uint qHash(const RecordIdentifier& identifier, uint seed) noexcept
{
    seed = ::qHash(identifier.subSystem(), seed);
    seed = ::qHash(identifier.deviceID(), seed);
    return ::qHash(identifier.recordID(), seed);
}

} // namespace sorel
