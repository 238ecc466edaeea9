#pragma once

#include <recording/export.h>

#include <QMetaType>
#include <QString>

#include <functional>

namespace sorel {

/// Names one recording within an installation. A value of three implicitly shared texts; usable as a key of
/// hash containers. Texts are compared as they are, in letter case too.
class KOLTA_RECORDING_EXPORT RecordIdentifier
{
public:
    /// The invalid identifier: all three parts are empty.
    RecordIdentifier() = default;
    RecordIdentifier(const QString& subSystem, const QString& deviceID, const QString& recordID)
        : m_subSystem(subSystem), m_deviceID(deviceID), m_recordID(recordID)
    {
    }

    /// Whether it can name a recording: none of the parts is empty.
    bool valid() const noexcept
    {
        return !m_subSystem.isEmpty() && !m_deviceID.isEmpty() && !m_recordID.isEmpty();
    }

    const QString& subSystem() const noexcept { return m_subSystem; }
    const QString& deviceID() const noexcept { return m_deviceID; }
    const QString& recordID() const noexcept { return m_recordID; }

    /// "subSystem/deviceID/recordID", with "%2F" and "%25" for "/" and "%" within the parts; empty for the
    /// invalid identifier. Different identifiers have different texts.
    QString toString() const;
    /// Reads what toString() gives; the invalid identifier for every other text.
    static RecordIdentifier fromString(const QString& text);

    friend bool operator==(const RecordIdentifier& a, const RecordIdentifier& b) noexcept
    {
        // The record's number differs most often.
        return a.m_recordID == b.m_recordID && a.m_deviceID == b.m_deviceID && a.m_subSystem == b.m_subSystem;
    }
    friend bool operator!=(const RecordIdentifier& a, const RecordIdentifier& b) noexcept
    {
        return !(a == b);
    }

private:
    QString m_subSystem;
    QString m_deviceID;
    QString m_recordID;
};

/// For QHash and QSet.
KOLTA_RECORDING_EXPORT uint qHash(const RecordIdentifier& identifier, uint seed = 0) noexcept;

} // namespace sorel

template<>
struct std::hash<sorel::RecordIdentifier>
{
    std::size_t operator()(const sorel::RecordIdentifier& identifier) const noexcept
    {
        return qHash(identifier);
    }
};

Q_DECLARE_METATYPE(sorel::RecordIdentifier)
